#include "core/four_cc.h"
#include "smc/smc_socket_server.h"
#include "smc/socket_smc_transport.h"
#include "smc/unix_socket.h"
#include "smc_test_support.h"
#include "temp_directory.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <vector>

namespace halvoren {
namespace {

using namespace std::chrono_literals;
using UnixSocket::FileDescriptor;

// Commands the fake backend treats specially.
constexpr std::uint8_t failCoded = 200;
constexpr std::uint8_t failOther = 201;
constexpr std::uint8_t failSMC = 202;
constexpr std::uint8_t slow = 203;
constexpr std::int32_t unsupported = -536870201;

// Answers so that every output depends on its whole input: a crossed or shifted frame shows.
class FakeBackend final : public SMCTransport {
public:
    SMCParamStruct call(const SMCParamStruct& input) override {
        calls.fetch_add(1);
        switch (input.data8) {
        case failCoded:
            throw SMCError::callFailed(unsupported);
        case failOther:
            throw std::runtime_error("backend broke");
        case failSMC:
            throw SMCError::keyNotFound("TC0P");
        case slow:
            std::this_thread::sleep_for(delay);
            break;
        default:
            break;
        }
        SMCParamStruct output = input;
        output.data32 = input.data32 * 2 + 1;
        output.result = static_cast<std::uint8_t>(input.data32);
        for (std::size_t i = 0; i < output.bytes.size(); ++i) {
            output.bytes[i] = static_cast<std::uint8_t>(input.data32 + i);
        }
        return output;
    }

    std::atomic<int> calls{0};
    std::chrono::milliseconds delay{0};
};

// Every field and byte of the image distinct.
SMCParamStruct filled() {
    SMCParamStruct s;
    s.key = FourCC::code("#KEY");
    s.vers = {1, 2, 3, 4, 0x0605};
    s.pLimitData = {0x0807, 0x0A09, 0x0E0D0C0B, 0x1211100F, 0x16151413};
    s.keyInfo = {0x1A191817, 0x1E1D1C1B, 0x1F};
    s.padding = 0x2120;
    s.result = 0x22;
    s.status = 0x23;
    s.data8 = 0x24;
    s.data32 = 0x28272625;
    for (std::size_t i = 0; i < s.bytes.size(); ++i) {
        s.bytes[i] = static_cast<std::uint8_t>(0x80 + i);
    }
    return s;
}

// The image above as request `n`, with `command` for the fake backend.
SMCParamStruct request(std::uint32_t n, std::uint8_t command = 5) {
    SMCParamStruct input = filled();
    input.key += n;
    input.data8 = command;
    input.data32 = n;
    return input;
}

// The fake backend's answer to request(n), field by field through the whole image.
void expectAnswers(const SMCParamStruct& output, std::uint32_t n) {
    SMCParamStruct expected = request(n);
    expected.data32 = n * 2 + 1;
    expected.result = static_cast<std::uint8_t>(n);
    for (std::size_t i = 0; i < expected.bytes.size(); ++i) {
        expected.bytes[i] = static_cast<std::uint8_t>(n + i);
    }
    EXPECT_EQ(output.toWire(), expected.toWire());
}

// The code of the callFailed (or, opening `path`, openFailed) error that `input` meets.
std::int32_t failure(SMCTransport& t, const SMCParamStruct& input) {
    const auto error = thrownError([&] { t.call(input); });
    EXPECT_TRUE(error && error->kind() == SMCError::Kind::callFailed)
        << (error ? error->description() : "none");
    return error ? error->code() : 0;
}
std::int32_t openFailure(const std::string& path) {
    const auto error = thrownError([&] { SocketSMCTransport{path}; });
    EXPECT_TRUE(error && error->kind() == SMCError::Kind::openFailed)
        << (error ? error->description() : path);
    return error ? error->code() : 0;
}

// A blocking socket at `path`, connected or (with `listening`) bound and listening without a
// server behind it, for speaking the wire format by hand.
FileDescriptor rawSocket(const std::string& path, bool listening = false) {
    FileDescriptor fd{::socket(AF_UNIX, SOCK_STREAM, 0)};
    sockaddr_un address{};
    UnixSocket::makeAddress(path, address);
    const auto* at = reinterpret_cast<const sockaddr*>(&address);
    EXPECT_TRUE(listening ? ::bind(fd.get(), at, sizeof address) == 0 && ::listen(fd.get(), 4) == 0
                          : ::connect(fd.get(), at, sizeof address) == 0)
        << path;
    return fd;
}

void readExactly(int fd, std::uint8_t* data, std::size_t size) {
    for (std::size_t done = 0; done < size;) {
        const long n = ::read(fd, data + done, size - done);
        ASSERT_GT(n, 0);
        done += static_cast<std::size_t>(n);
    }
}

class SocketExchange : public ::testing::Test {
protected:
    testing::TempDirectory dir;
    std::string path = (dir / "smc.sock").string();
    FakeBackend backend;
    SMCSocketServer server{backend, path};
};

TEST_F(SocketExchange, CarriesTheWholeImageAndTheBackendsFailures) {
    server.start();
    SocketSMCTransport client(path);
    expectAnswers(client.call(request(3)), 3);

    // Failures of the backend come back as statuses and leave the connection usable.
    EXPECT_EQ(failure(client, request(4, failCoded)), unsupported);
    EXPECT_EQ(failure(client, request(5, failOther)), SMCSocketServer::genericFailure);
    EXPECT_EQ(failure(client, request(6, failSMC)), SMCSocketServer::genericFailure);
    EXPECT_FALSE(client.isBroken());
    expectAnswers(client.call(request(7)), 7);
    EXPECT_EQ(backend.calls.load(), 5);
}

TEST_F(SocketExchange, ServesConcurrentClientsWhileOthersMisbehave) {
    server.start();
    constexpr int clients = 4;
    constexpr std::uint32_t rounds = 250;
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    threads.reserve(clients);
    for (int c = 0; c < clients; ++c) {
        threads.emplace_back([&, c] {
            SocketSMCTransport client(path);
            for (std::uint32_t i = 0; i < rounds; ++i) {
                const std::uint32_t n = static_cast<std::uint32_t>(c) * 1000 + i;
                try {
                    const SMCParamStruct out = client.call(request(n));
                    failures += out.data32 != n * 2 + 1 || out.key != FourCC::code("#KEY") + n;
                } catch (const SMCError&) {
                    ++failures;
                }
            }
        });
    }

    // Meanwhile: a client gone mid-frame and one that stalls mid-frame (a forged frame is dropped in
    // TellsEachTimeItsLastClientLeaves).
    const auto frame = request(1).toWire();
    {
        const FileDescriptor gone = rawSocket(path);
        ASSERT_EQ(::write(gone.get(), frame.data(), 40), 40);
    }
    const FileDescriptor stalled = rawSocket(path);
    ASSERT_EQ(::write(stalled.get(), frame.data(), 79), 79);

    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failures.load(), 0);
    EXPECT_EQ(backend.calls.load(), clients * static_cast<int>(rounds));

    // The stalled client's last byte completes its frame, and it is answered.
    ASSERT_EQ(::write(stalled.get(), frame.data() + 79, 1), 1);
    std::array<std::uint8_t, SMCSocketWire::responseSize> answer{};
    readExactly(stalled.get(), answer.data(), answer.size());
    EXPECT_EQ(answer[0] | answer[1] | answer[2] | answer[3], 0);
    expectAnswers(SMCParamStruct::fromWire(std::span<const std::uint8_t, 80>(answer.data() + 4, 80)), 1);
}

TEST_F(SocketExchange, AStoppedServerBreaksItsClients) {
    server.start();
    server.start(); // already running: nothing happens
    SocketSMCTransport client(path);
    expectAnswers(client.call(request(1)), 1);

    server.stop();
    EXPECT_FALSE(server.isRunning());
    EXPECT_FALSE(std::filesystem::exists(path));
    const std::int32_t code = failure(client, request(2));
    EXPECT_TRUE(code == ECONNRESET || code == EPIPE) << code;
    EXPECT_TRUE(client.isBroken());
    EXPECT_EQ(failure(client, request(3)), ENOTCONN);
    EXPECT_EQ(openFailure(path), ENOENT);

    // Nothing reconnects: a restarted server serves new transports, the broken one stays broken.
    server.start();
    SocketSMCTransport fresh(path);
    expectAnswers(fresh.call(request(4)), 4);
    EXPECT_EQ(failure(client, request(5)), ENOTCONN);
    server.stop();
    server.stop();
}

TEST_F(SocketExchange, ASlowAnswerTimesOutAndBreaksTheConnection) {
    backend.delay = 400ms;
    server.start();
    SocketSMCTransport client(path, 200ms);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(failure(client, request(1, slow)), ETIMEDOUT);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 190ms);
    EXPECT_TRUE(client.isBroken());

    // Broken: the next call fails at once, without another exchange.
    const auto again = std::chrono::steady_clock::now();
    EXPECT_EQ(failure(client, request(2)), ENOTCONN);
    EXPECT_LT(std::chrono::steady_clock::now() - again, 150ms);

    // The server's late answer goes to a closed socket; it must survive that and go on.
    SocketSMCTransport next(path, 2s);
    expectAnswers(next.call(request(3)), 3);
    EXPECT_EQ(backend.calls.load(), 2);
}

TEST_F(SocketExchange, OwnsItsSocketFile) {
    EXPECT_EQ(openFailure(path), ENOENT);
    EXPECT_EQ(openFailure("/tmp/" + std::string(120, 'x')), ENAMETOOLONG);

    // A socket file left by a dead server is replaced; the mode is 0600 whatever the umask.
    { rawSocket(path, true); }
    ASSERT_TRUE(std::filesystem::is_socket(path));
    const mode_t previous = ::umask(0);
    server.start();
    ::umask(previous);
    struct stat info {};
    ASSERT_EQ(::stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0600u);
    expectAnswers(SocketSMCTransport(path).call(request(1)), 1);

    // A live server and a file of another kind are not taken over.
    SMCSocketServer rival(backend, path);
    EXPECT_THROW(rival.start(), std::system_error);
    expectAnswers(SocketSMCTransport(path).call(request(2)), 2);
    server.stop();
    const std::string plain = (dir / "plain").string();
    testing::writeFile(plain, "keep");
    SMCSocketServer misplaced(backend, plain);
    EXPECT_THROW(misplaced.start(), std::system_error);
    EXPECT_TRUE(std::filesystem::is_regular_file(plain));

    // A server whose file was replaced under it leaves the newcomer's file alone.
    server.start();
    ASSERT_TRUE(std::filesystem::remove(path));
    SMCSocketServer successor(backend, path);
    successor.start();
    server.stop();
    EXPECT_TRUE(std::filesystem::is_socket(path));
    expectAnswers(SocketSMCTransport(path).call(request(3)), 3);
}

TEST_F(SocketExchange, TellsEachTimeItsLastClientLeaves) {
    std::atomic<int> idle{0};
    SMCSocketServer watched(backend, (dir / "watched.sock").string(), [&] { idle.fetch_add(1); });
    watched.start();
    const auto idleReaches = [&](int count) {
        const auto deadline = std::chrono::steady_clock::now() + 5s;
        while (idle.load() < count && std::chrono::steady_clock::now() < deadline) {
            std::this_thread::sleep_for(1ms);
        }
        return idle.load() == count;
    };

    auto first = std::make_unique<SocketSMCTransport>(watched.path());
    auto second = std::make_unique<SocketSMCTransport>(watched.path());
    expectAnswers(first->call(request(1)), 1);
    expectAnswers(second->call(request(2)), 2);
    first.reset();
    // The second answer comes from a pass of the loop after the one that saw the first leave.
    expectAnswers(second->call(request(3)), 3);
    expectAnswers(second->call(request(4)), 4);
    EXPECT_EQ(idle.load(), 0) << "a client left while another stayed";
    second.reset();
    EXPECT_TRUE(idleReaches(1));

    // A client the server drops counts as leaving too.
    const FileDescriptor forged = rawSocket(watched.path());
    std::array<std::uint8_t, 80> frame{};
    frame[10] = 1; // padding no client of ours sends
    ASSERT_EQ(::write(forged.get(), frame.data(), frame.size()), 80);
    EXPECT_TRUE(idleReaches(2));

    // Stopping is not a departure.
    SocketSMCTransport last(watched.path());
    expectAnswers(last.call(request(5)), 5);
    watched.stop();
    EXPECT_EQ(idle.load(), 2);
}

TEST(UnixSocketDirectory, MakesAMissingDirectoryOpenOnlyAsFarAsTheSocketIs) {
    testing::TempDirectory dir;
    const auto modeOf = [](const std::filesystem::path& path) {
        struct stat info {};
        EXPECT_EQ(::stat(path.c_str(), &info), 0) << path;
        return info.st_mode & 07777;
    };
    const mode_t previous = ::umask(0);
    UnixSocket::makeSocketDirectory((dir / "private" / "deeper" / "s.sock").string(), S_IRUSR | S_IWUSR);
    UnixSocket::makeSocketDirectory((dir / "shared" / "s.sock").string(), 0666);
    ::umask(previous);
    EXPECT_EQ(modeOf(dir / "private" / "deeper"), 0700u);
    EXPECT_EQ(modeOf(dir / "shared"), 0711u) << "others pass through to the socket but cannot list";

    // One that exists is not ours to change, unless it is the server's own: then it gains the
    // search bits the socket's users need and loses none. A bare name needs no directory.
    const auto shared = (dir / "shared" / "s.sock").string();
    ASSERT_EQ(::chmod((dir / "shared").c_str(), 0750), 0);
    UnixSocket::makeSocketDirectory(shared, 0666);
    EXPECT_EQ(modeOf(dir / "shared"), 0750u);
    UnixSocket::makeSocketDirectory(shared, S_IRUSR | S_IWUSR, UnixSocket::ExistingDirectory::letPass);
    EXPECT_EQ(modeOf(dir / "shared"), 0750u);
    UnixSocket::makeSocketDirectory(shared, 0666, UnixSocket::ExistingDirectory::letPass);
    EXPECT_EQ(modeOf(dir / "shared"), 0751u);
    EXPECT_NO_THROW(UnixSocket::makeSocketDirectory("s.sock", S_IRUSR | S_IWUSR));

    // Where other users are stopped on the way: first the private temporary directory itself.
    EXPECT_EQ(UnixSocket::directoryClosedToOthers(shared), dir.path().string());
    ASSERT_EQ(::chmod(dir.path().c_str(), 0711), 0);
    EXPECT_EQ(UnixSocket::directoryClosedToOthers(shared), std::nullopt);
    EXPECT_EQ(UnixSocket::directoryClosedToOthers((dir / "private" / "deeper" / "s.sock").string()),
              (dir / "private" / "deeper").string());

    testing::writeFile(dir / "plain", "file");
    const auto blocked = dir / "plain" / "sub";
    EXPECT_EQ(thrownMessage<std::system_error>(
                  [&] { UnixSocket::makeSocketDirectory((blocked / "s.sock").string(), S_IRUSR | S_IWUSR); }),
              "cannot create " + blocked.string() + ": Not a directory");
}

TEST(SocketSMCTransport, ReassemblesSplitAnswersAndDetectsCutOnes) {
    const testing::TempDirectory dir;
    const std::string path = (dir / "s").string();
    const FileDescriptor listener = rawSocket(path, true);
    // The test's own server: answers the first request in three pieces, with a non-zero
    // status for the second, and hangs up halfway through the third.
    std::thread peer([&] {
        const FileDescriptor connection{::accept(listener.get(), nullptr, nullptr)};
        std::array<std::uint8_t, 80> in{};
        readExactly(connection.get(), in.data(), in.size());
        std::array<std::uint8_t, SMCSocketWire::responseSize> out{};
        const auto image = SMCParamStruct::fromWire(in).toWire();
        std::copy(image.begin(), image.end(), out.begin() + 4);
        for (const auto& [from, to] : {std::pair{0, 3}, std::pair{3, 50}, std::pair{50, 84}}) {
            ASSERT_EQ(::write(connection.get(), out.data() + from, to - from), to - from);
            std::this_thread::sleep_for(10ms);
        }
        readExactly(connection.get(), in.data(), in.size());
        out.fill(0);
        out[0] = 0xC7, out[1] = 0x02, out[2] = 0x00, out[3] = 0xE0; // -536870201
        ASSERT_EQ(::write(connection.get(), out.data(), out.size()), 84);
        readExactly(connection.get(), in.data(), in.size());
        ASSERT_EQ(::write(connection.get(), out.data(), 30), 30);
    });
    SocketSMCTransport client(path);
    const SMCParamStruct echoed = client.call(request(9));
    EXPECT_EQ(echoed.toWire(), request(9).toWire());
    EXPECT_EQ(failure(client, request(10)), unsupported);
    EXPECT_FALSE(client.isBroken());
    EXPECT_EQ(failure(client, request(11)), ECONNRESET);
    EXPECT_TRUE(client.isBroken());
    peer.join();
}

TEST(SMCParamStruct, WireImageIsLittleEndianWithZeroPadding) {
    const auto wire = filled().toWire();
    // The key's characters lie reversed on the wire.
    EXPECT_EQ(std::vector<std::uint8_t>(wire.begin(), wire.begin() + 4),
              (std::vector<std::uint8_t>{0x59, 0x45, 0x4B, 0x23}));
    const std::vector<std::pair<std::size_t, std::uint8_t>> expected = {
        {4, 1},     {5, 2},     {6, 3},     {7, 4},     {8, 0x05},  {9, 0x06},  {10, 0},
        {11, 0},    {12, 0x07}, {13, 0x08}, {14, 0x09}, {15, 0x0A}, {16, 0x0B}, {19, 0x0E},
        {20, 0x0F}, {24, 0x13}, {27, 0x16}, {28, 0x17}, {31, 0x1A}, {32, 0x1B}, {35, 0x1E},
        {36, 0x1F}, {37, 0},    {38, 0x20}, {39, 0x21}, {40, 0x22}, {41, 0x23}, {42, 0x24},
        {43, 0},    {44, 0x25}, {47, 0x28}, {48, 0x80}, {79, 0x9F},
    };
    for (const auto& [offset, byte] : expected) {
        EXPECT_EQ(wire[offset], byte) << "offset " << offset;
    }

    // The image above is checked byte by byte, so reading it back must rebuild every field.
    EXPECT_EQ(SMCParamStruct::fromWire(wire).toWire(), wire);
}

TEST(SMCParamStruct, ValueBytesClampTheCountAndZeroTheRest) {
    SMCParamStruct s = filled();
    EXPECT_EQ(s.valueBytes(40).size(), 32u);
    EXPECT_TRUE(s.valueBytes(-1).empty());
    EXPECT_EQ(s.valueBytes(2), (std::vector<std::uint8_t>{0x80, 0x81}));

    s.setValueBytes(std::vector<std::uint8_t>{7, 8});
    EXPECT_EQ(s.valueBytes(3), (std::vector<std::uint8_t>{7, 8, 0}));
    s.setValueBytes(std::vector<std::uint8_t>(40, 9)); // cut at 32
    EXPECT_EQ(s.valueBytes(40), std::vector<std::uint8_t>(32, 9));
}

} // namespace
} // namespace halvoren

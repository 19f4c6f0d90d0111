#include "core/frame_codec.h"
#include "core/helper_constants.h"
#include "core/helper_messages.h"
#include "core/json_support.h"

#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace halvoren {
namespace {

constexpr auto maxFrame = HelperConstants::maxFrameBytes;

std::vector<std::string> drain(FrameReader& reader) {
    std::vector<std::string> payloads;
    while (auto payload = reader.next()) {
        payloads.push_back(std::move(*payload));
    }
    return payloads;
}

std::string header(std::uint32_t length) {
    return {static_cast<char>(length >> 24), static_cast<char>(length >> 16), static_cast<char>(length >> 8),
            static_cast<char>(length)};
}

TEST(FrameCodec, LengthPrefixIsBigEndianAndLimited) {
    EXPECT_EQ(frameBytes(std::string(300, 'a')).substr(0, 4), std::string("\x00\x00\x01\x2C", 4));
    EXPECT_EQ(frameBytes(""), std::string(4, '\0'));
    EXPECT_EQ(frameBytes(std::string(maxFrame, 'a')).size(), maxFrame + 4);
    EXPECT_THROW(frameBytes(std::string(maxFrame + 1, 'a')), EncodeError);
}

TEST(FrameReader, YieldsPayloadsWhateverTheChunking) {
    const std::vector<std::string> payloads{R"({"id":1,"method":"heartbeat"})", "", std::string(35000, 'z'),
                                            std::string(maxFrame, 'm')};
    std::string stream;
    for (const auto& p : payloads) {
        stream += frameBytes(p);
    }
    FrameReader whole;
    whole.append(stream);
    EXPECT_EQ(drain(whole), payloads);

    FrameReader byByte;
    std::vector<std::string> seen;
    for (const char c : stream) {
        byByte.append(std::string_view(&c, 1));
        for (auto& p : drain(byByte)) {
            seen.push_back(std::move(p));
        }
    }
    EXPECT_EQ(seen, payloads);
    EXPECT_FALSE(byByte.failed());
}

TEST(FrameReader, OversizedLengthFailsForGood) {
    FrameReader reader;
    reader.append(frameBytes("{}") + header(maxFrame + 1) + "{\"id\":1}");
    EXPECT_TRUE(reader.failed());
    EXPECT_NE(reader.error().find("65537"), std::string::npos);
    reader.append(frameBytes("{}"));
    EXPECT_EQ(drain(reader), std::vector<std::string>{"{}"}); // only what came before the bad header
    FrameReader huge;
    huge.append(header(0xFFFFFFFF));
    EXPECT_TRUE(huge.failed());
}

// Damaged request streams, as a daemon reads them: whatever arrives, a frame decodes to a request that
// survives re-encoding, or to an error carrying exactly the id the frame lets one read.
TEST(HelperProtocolFuzz, GarbageNeverCrashesAndEveryFrameIsAnsweredOrRefusedConsistently) {
    std::mt19937 rng(20240611);
    const auto pick = [&](std::initializer_list<std::string_view> options) {
        return std::string(options.begin()[rng() % options.size()]);
    };
    int decoded = 0;
    int refusedWithId = 0;
    int failedReaders = 0;
    for (int connection = 0; connection < 1000; ++connection) {
        FrameReader reader;
        for (int frames = 1 + static_cast<int>(rng() % 6); frames > 0 && !reader.failed(); --frames) {
            std::string bytes = frameBytes(
                "{" +
                pick({"\"id\":0,", "\"id\":42,", "\"id\":18446744073709551615,", "\"id\":-1,", "\"id\":1.5,",
                      ""}) +
                "\"method\":" +
                pick({"\"setTargetRPM\"", "\"setManualControl\"", "\"heartbeat\"", "\"nope\"", "3"}) +
                pick({"", ",\"fan\":1", ",\"fan\":-3", ",\"fan\":1.5", ",\"fan\":99999999999"}) +
                pick({"", R"(,"rpm":1200.5)", R"(,"rpm":"x")"}) +
                pick({"", ",\"enabled\":true", ",\"enabled\":0"}) + "}");
            switch (rng() % 4) {
            case 0: // flipped bytes, header included
                bytes[rng() % bytes.size()] = static_cast<char>(rng());
                break;
            case 1: // truncated: whatever follows completes it
                bytes.resize(rng() % bytes.size());
                break;
            default:
                break;
            }
            for (std::string_view rest(bytes); !rest.empty();) {
                const auto take = std::min<std::size_t>(rest.size(), 1 + rng() % 16);
                reader.append(rest.substr(0, take));
                rest.remove_prefix(take);
            }
            while (auto frame = reader.next()) {
                const auto result = decodeRequest(*frame);
                if (const auto* request = std::get_if<HelperRequest>(&result)) {
                    ++decoded;
                    EXPECT_EQ(std::get<HelperRequest>(decodeRequest(encodeRequest(*request))), *request);
                } else {
                    const auto& error = std::get<HelperMessageError>(result);
                    EXPECT_FALSE(error.message.empty());
                    EXPECT_EQ(error.id, messageId(*frame)) << *frame;
                    refusedWithId += error.id ? 1 : 0;
                }
            }
        }
        failedReaders += reader.failed() ? 1 : 0;
    }
    // The mix reached every outcome, so the loop exercised each path.
    EXPECT_GT(decoded, 100);
    EXPECT_GT(refusedWithId, 100);
    EXPECT_GT(failedReaders, 20);
}

} // namespace
} // namespace halvoren

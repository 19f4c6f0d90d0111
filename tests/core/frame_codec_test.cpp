#include "core/frame_codec.h"
#include "core/helper_constants.h"
#include "core/helper_messages.h"
#include "core/json_support.h"

#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace halvoren {
namespace {

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
    EXPECT_EQ(frameBytes(std::string(HelperConstants::maxFrameBytes, 'a')).size(),
              HelperConstants::maxFrameBytes + 4);
    EXPECT_THROW(frameBytes(std::string(HelperConstants::maxFrameBytes + 1, 'a')), EncodeError);
}

TEST(FrameReader, YieldsPayloadsWhateverTheChunking) {
    const std::vector<std::string> payloads{R"({"id":1,"method":"heartbeat"})", "",
                                            std::string(70000 / 2, 'z'),
                                            std::string(HelperConstants::maxFrameBytes, 'm')};
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

    // A truncated frame yields nothing until its last byte arrives.
    FrameReader partial;
    partial.append(stream.substr(0, 20));
    EXPECT_TRUE(drain(partial).empty());
    partial.append(stream.substr(20, payloads[0].size() + 4 - 20));
    EXPECT_EQ(drain(partial), std::vector<std::string>{payloads[0]});
}

TEST(FrameReader, OversizedLengthFailsForGood) {
    FrameReader reader;
    reader.append(frameBytes("{}") + header(HelperConstants::maxFrameBytes + 1) + "{\"id\":1}");
    EXPECT_TRUE(reader.failed());
    EXPECT_NE(reader.error().find("65537"), std::string::npos);
    reader.append(frameBytes("{}"));
    EXPECT_EQ(drain(reader), std::vector<std::string>{"{}"}); // only what came before the bad header

    FrameReader huge;
    huge.append(header(0xFFFFFFFF));
    EXPECT_TRUE(huge.failed());
}

// A request generated from pieces whose validity is known, so the decode can be checked.
std::string randomRequest(std::mt19937& rng, bool& idReadable) {
    auto pick = [&](std::initializer_list<std::string_view> options) {
        return std::string(options.begin()[rng() % options.size()]);
    };
    const std::string id = pick({"0", "42", "18446744073709551615", "-1", "1.5", "\"7\"", "null", ""});
    idReadable = id == "0" || id == "42" || id == "18446744073709551615";
    std::string text = "{";
    if (!id.empty()) {
        text += "\"id\":" + id + ",";
    }
    text += "\"method\":" + pick({"\"setTargetRPM\"", "\"setManualControl\"", "\"heartbeat\"",
                                  "\"helperVersion\"", "\"restoreAutomaticControl\"", "\"nope\"", "3"});
    text += pick({"", ",\"fan\":1", ",\"fan\":-3", ",\"fan\":1.5", ",\"fan\":true", ",\"fan\":99999999999"});
    text += pick({"", ",\"rpm\":1200.5", ",\"rpm\":-1e300", ",\"rpm\":\"x\""});
    text += pick({"", ",\"enabled\":true", ",\"enabled\":0"});
    return text + "}";
}

// The daemon's view of one frame: answers a request, answers an error when the id is readable,
// otherwise closes. Checks what each outcome must satisfy.
struct Tally {
    int decoded = 0;
    int answerable = 0;
    int unanswerable = 0;
};

void serve(std::string_view frame, Tally& tally) {
    const auto result = decodeRequest(frame);
    if (const auto* request = std::get_if<HelperRequest>(&result)) {
        ++tally.decoded;
        EXPECT_EQ(std::get<HelperRequest>(decodeRequest(encodeRequest(*request))), *request);
        return;
    }
    const auto& error = std::get<HelperMessageError>(result);
    EXPECT_FALSE(error.message.empty());
    EXPECT_EQ(error.id, messageId(frame));
    if (error.id) {
        ++tally.answerable;
        EXPECT_NO_THROW(frameBytes(encodeReply({*error.id, HelperReply::Failure{error.message}})));
    } else {
        ++tally.unanswerable;
    }
}

TEST(HelperProtocolFuzz, GarbageNeverCrashesAndAFreshReaderStillWorks) {
    std::mt19937 rng(20240611);
    Tally tally;
    int readerFailures = 0;
    for (int connection = 0; connection < 1000; ++connection) {
        FrameReader reader;
        // Each connection carries a few frames; any of them may be damaged, desynchronising the rest.
        for (int frames = 1 + static_cast<int>(rng() % 6); frames > 0 && !reader.failed(); --frames) {
            bool idReadable = false;
            const std::string payload = randomRequest(rng, idReadable);
            std::string bytes = frameBytes(payload);
            switch (rng() % 6) {
            case 0: // flipped bytes, header included
                for (int flips = 1 + static_cast<int>(rng() % 4); flips > 0; --flips) {
                    bytes[rng() % bytes.size()] = static_cast<char>(rng());
                }
                break;
            case 1: // truncated: whatever follows completes it
                bytes.resize(rng() % bytes.size());
                break;
            case 2: // random bytes, under a header or in place of one
                bytes.assign(rng() % 64, '\0');
                for (auto& c : bytes) {
                    c = static_cast<char>(rng());
                }
                if (rng() % 2 == 0) {
                    bytes = frameBytes(bytes);
                }
                break;
            default:
                break;
            }
            std::string_view rest(bytes);
            while (!rest.empty()) {
                const auto take = std::min<std::size_t>(rest.size(), 1 + rng() % 16);
                reader.append(rest.substr(0, take));
                rest.remove_prefix(take);
            }
            while (auto frame = reader.next()) {
                serve(*frame, tally);
                if (*frame == payload) {
                    EXPECT_EQ(messageId(*frame).has_value(), idReadable) << *frame;
                }
            }
        }
        readerFailures += reader.failed() ? 1 : 0;
        FrameReader fresh;
        fresh.append(frameBytes(R"({"id":5,"method":"heartbeat"})"));
        const auto frames = drain(fresh);
        ASSERT_EQ(frames.size(), 1u);
        EXPECT_EQ(std::get<HelperRequest>(decodeRequest(frames[0])),
                  (HelperRequest{5, HelperMethod::heartbeat}));
    }
    // The mix reached every outcome, so the loop exercised each path.
    EXPECT_GT(tally.decoded, 100);
    EXPECT_GT(tally.answerable, 100);
    EXPECT_GT(tally.unanswerable, 100);
    EXPECT_GT(readerFailures, 100);
}

} // namespace
} // namespace halvoren

#include "core/frame_codec.h"
#include "core/helper_constants.h"
#include "core/helper_messages.h"
#include "core/json_support.h"

#include <gtest/gtest.h>
#include <limits>
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

    // An oversized length fails the reader for good.
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

using M = HelperMethod;

TEST(HelperMessages, RequestsRoundTripWithExactWireNames) {
    EXPECT_EQ(encodeRequest({.id = 7, .method = M::setTargetRPM, .fan = 1, .rpm = 1800.5}),
              R"({"id":7,"method":"setTargetRPM","fan":1,"rpm":1800.5})");
    const HelperRequest requests[] = {
        {.id = 0, .method = M::setTargetRPM, .fan = std::numeric_limits<int>::min(), .rpm = -0.25},
        {.id = 1, .method = M::setTargetRPM, .fan = std::numeric_limits<int>::max(), .rpm = 0},
        {.id = std::numeric_limits<std::uint64_t>::max(),
         .method = M::setManualControl,
         .fan = 9,
         .enabled = true},
        {.id = 3, .method = M::restoreAutomaticControl},
        {.id = 4, .method = M::heartbeat},
        {.id = 5, .method = M::helperVersion},
    };
    for (const auto& request : requests) {
        EXPECT_EQ(std::get<HelperRequest>(decodeRequest(encodeRequest(request))), request);
    }
    // Arguments a method does not take stay off the wire.
    EXPECT_EQ(encodeRequest({.id = 1, .method = M::heartbeat, .fan = 2, .rpm = 5}),
              R"({"id":1,"method":"heartbeat"})");
    // A whole number written with a fraction is still a fan index.
    EXPECT_EQ(
        std::get<HelperRequest>(decodeRequest(R"({"id":1,"method":"setTargetRPM","fan":2.0,"rpm":3})")).fan,
        2);
}

TEST(HelperMessages, RepliesRoundTrip) {
    using R = HelperReply;
    const std::pair<HelperReply, M> replies[] = {
        {{1, R::Applied{2400.0}}, M::setTargetRPM},
        {{2, std::monostate{}}, M::setManualControl},
        {{3, std::monostate{}}, M::restoreAutomaticControl},
        {{4, R::Uptime{0.0}}, M::heartbeat},
        {{5, R::Version{"1.2.0"}}, M::helperVersion},
        {{6, R::Failure{"fan 3 is not present"}}, M::setTargetRPM},
        {{7, R::Failure{""}}, M::heartbeat},
    };
    for (const auto& [reply, method] : replies) {
        EXPECT_EQ(std::get<HelperReply>(decodeReply(encodeReply(reply), method)), reply);
    }
    EXPECT_EQ(encodeReply({9, R::Uptime{12.5}}), R"({"id":9,"uptime":12.5})");
    // An error wins over any result beside it; unknown keys are ignored.
    EXPECT_EQ(
        std::get<HelperReply>(decodeReply(R"({"id":1,"applied":5,"error":"busy","x":0})", M::setTargetRPM)),
        (HelperReply{1, R::Failure{"busy"}}));
}

TEST(HelperMessages, EncodingNeverProducesInvalidJson) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    EXPECT_THROW(encodeRequest({.id = 1, .method = M::setTargetRPM, .rpm = nan}), EncodeError);
    EXPECT_THROW(encodeReply({1, HelperReply::Applied{nan}}), EncodeError);
    EXPECT_THROW(encodeReply({1, HelperReply::Uptime{inf}}), EncodeError);
    // Invalid UTF-8 in an error text is replaced, so the refusal still reaches the peer.
    const auto reply = decodeReply(encodeReply({2, HelperReply::Failure{"bad \xff byte"}}), M::heartbeat);
    EXPECT_EQ(std::get<HelperReply>(reply).outcome,
              HelperReply::Outcome{HelperReply::Failure{"bad \uFFFD byte"}});
}

TEST(HelperMessages, MalformedRequestsAnswerWithTheirIdWhenReadable) {
    const std::pair<std::string_view, std::string_view> withId[] = {
        {R"({"id":4,"method":"spinUp"})", "unknown method \"spinUp\""},
        {R"({"id":4})", "missing key \"method\""},
        {R"({"id":4,"method":7})", "\"method\" is not a string"},
        {R"({"id":4,"method":"setTargetRPM","rpm":1})", "missing key \"fan\""},
        {R"({"id":4,"method":"setTargetRPM","fan":1.5,"rpm":1})", "\"fan\" is not an integer"},
        {R"({"id":4,"method":"setTargetRPM","fan":"1","rpm":1})", "\"fan\" is not an integer"},
        {R"({"id":4,"method":"setTargetRPM","fan":2147483648,"rpm":1})", "\"fan\" is out of range"},
        {R"({"id":4,"method":"setTargetRPM","fan":0,"rpm":"x"})", "\"rpm\" is not a number"},
        {R"({"id":4,"method":"setManualControl","fan":0,"enabled":1})", "\"enabled\" is not a boolean"},
        {R"({"id":4,"method":"setManualControl","fan":0})", "missing key \"enabled\""},
    };
    for (const auto& [text, message] : withId) {
        EXPECT_EQ(std::get<HelperMessageError>(decodeRequest(text)),
                  (HelperMessageError{std::string(message), 4}))
            << text;
    }
    const auto longName = R"({"id":4,"method":")" + std::string(5000, 'x') + "\"}";
    EXPECT_LT(std::get<HelperMessageError>(decodeRequest(longName)).message.size(), 100u);

    // A frame's worth of nesting neither overflows the stack nor hides the id.
    const std::string deep(HelperConstants::maxFrameBytes / 2 - 40, '[');
    const auto nested = R"({"id":1,"method":"heartbeat","x":)" + deep + std::string(deep.size(), ']') + "}";
    EXPECT_EQ(std::get<HelperRequest>(decodeRequest(nested)).id, 1u);
    EXPECT_EQ(std::get<HelperMessageError>(decodeRequest(deep)).id, std::nullopt);

    const std::string_view withoutId[] = {"",
                                          "not json",
                                          "\"text\"",
                                          R"({"method":"heartbeat"})",
                                          R"({"id":"1"})",
                                          R"({"id":1.0})",
                                          R"({"id":18446744073709551616})",
                                          R"({"id":1} trailing)"};
    for (const auto text : withoutId) {
        const auto decoded = decodeRequest(text);
        ASSERT_TRUE(std::holds_alternative<HelperMessageError>(decoded)) << text;
        EXPECT_EQ(std::get<HelperMessageError>(decoded).id, std::nullopt) << text;
        EXPECT_FALSE(std::get<HelperMessageError>(decoded).message.empty());
    }
}

TEST(HelperMessages, RepliesOfTheWrongShapeAreErrors) {
    const std::tuple<std::string_view, M, std::optional<std::uint64_t>> cases[] = {
        {R"({"id":8,"applied":"x"})", M::setTargetRPM, 8},
        {R"({"id":8,"uptime":1})", M::setTargetRPM, 8},
        {R"({"id":8})", M::heartbeat, 8},
        {R"({"id":8,"version":120})", M::helperVersion, 8},
        {R"({"id":8,"error":null})", M::restoreAutomaticControl, 8},
        {R"({"applied":1})", M::setTargetRPM, std::nullopt},
        {R"([{"id":8}])", M::heartbeat, std::nullopt},
    };
    for (const auto& [text, method, id] : cases) {
        const auto decoded = decodeReply(text, method);
        ASSERT_TRUE(std::holds_alternative<HelperMessageError>(decoded)) << text;
        EXPECT_EQ(std::get<HelperMessageError>(decoded).id, id) << text;
    }
    EXPECT_EQ(messageId(R"({"id":12,"uptime":"x"})"), 12u);
    EXPECT_EQ(messageId(R"({"id":-12})"), std::nullopt);
    EXPECT_EQ(messageId("{"), std::nullopt);
}

} // namespace
} // namespace halvoren

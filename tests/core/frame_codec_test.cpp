#include "core/frame_codec.h"
#include "core/helper_constants.h"
#include "core/json_support.h"

#include <gtest/gtest.h>
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

} // namespace
} // namespace halvoren

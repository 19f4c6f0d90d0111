#include "core/four_cc.h"
#include "fakes/counting_transport.h"
#include "smc/smc_kernel_bridge.h"
#include "smc_test_support.h"

#include <gtest/gtest.h>
#include <latch>
#include <thread>

namespace halvoren {
namespace {

using Kind = SMCDataType::Kind;
using Bytes = std::vector<std::uint8_t>;

TEST(SMCKernelBridge, KeyInformationIsAskedOnceAndFailuresAreAskedAgain) {
    auto f = makeFakeBridge();
    f.fake->setValue("TC0P", Kind::sp78, 45.5);

    EXPECT_EQ(f.bridge->read("TC0P"), 45.5);
    EXPECT_EQ(f.fake->calls(SMCCommand::keyInformation), 1);
    EXPECT_EQ(f.fake->calls(SMCCommand::readValue), 1);
    EXPECT_EQ(f.bridge->read("TC0P"), 45.5);
    EXPECT_EQ(f.fake->totalCalls(), 3);

    // The read carries the key and size, and no type.
    const SMCParamStruct input = *f.fake->lastInput(SMCCommand::readValue);
    EXPECT_EQ(input.key, FourCC::code("TC0P"));
    EXPECT_EQ(input.keyInfo.dataSize, 2u);
    EXPECT_EQ(input.keyInfo.dataType, 0u);

    const auto raw = f.bridge->readRaw("TC0P");
    EXPECT_EQ(raw.bytes, (Bytes{0x2D, 0x80}));
    EXPECT_EQ(raw.type, SMCDataType(Kind::sp78));

    f.fake->setValue("F0Md", Kind::ui8, 1);
    f.fake->setResult("F0Md", SMCCommand::keyInformation, SMCResult::keyNotFound);
    EXPECT_EQ(thrownError([&] { f.bridge->keyInfo("F0Md"); }), SMCError::keyNotFound("F0Md"));
    EXPECT_FALSE(f.bridge->hasKey("F0Md"));
    EXPECT_EQ(f.fake->calls(SMCCommand::keyInformation), 3);
    f.fake->failCall("F0Md", SMCCommand::keyInformation, -536870212);
    EXPECT_EQ(thrownError([&] { f.bridge->read("F0Md"); }), SMCError::callFailed(-536870212));
    f.fake->clearFailures();
    EXPECT_EQ(f.bridge->keyInfo("F0Md"), (SMCKeyInfoData{1, SMCDataType::ui8Code, 0}));
    EXPECT_EQ(f.fake->calls(SMCCommand::keyInformation), 5);
    EXPECT_TRUE(f.bridge->hasKey("F0Md"));
    EXPECT_EQ(f.fake->calls(SMCCommand::keyInformation), 5);
}

TEST(SMCKernelBridge, ResultBytesBecomeErrorsNamingTheKey) {
    auto f = makeFakeBridge();
    f.fake->setValue("TC0P", Kind::sp78, 40.0);
    f.fake->setValue("F0Tg", Kind::fpe2, 1200.0);

    f.fake->setResult("TC0P", SMCCommand::readValue, SMCResult::notReadable);
    EXPECT_EQ(thrownError([&] { f.bridge->read("TC0P"); }), SMCError::notReadable("TC0P"));
    f.fake->setResult("TC0P", SMCCommand::readValue, 0x01);
    EXPECT_EQ(thrownError([&] { f.bridge->readRaw("TC0P"); }), SMCError::smcResult(1));
    f.fake->setResult("F0Tg", SMCCommand::writeValue, SMCResult::notWritable);
    EXPECT_EQ(thrownError([&] { f.bridge->write("F0Tg", 1500.0); }), SMCError::notWritable("F0Tg"));
    EXPECT_EQ(f.fake->bytes("F0Tg"), (Bytes{0x12, 0xC0})); // the refused write changed nothing
    EXPECT_EQ(thrownError([&] { f.bridge->read("TZZZ"); }), SMCError::keyNotFound("TZZZ"));

    // By index: the error names no key of its own.
    EXPECT_EQ(f.bridge->keyAt(1), "F0Tg");
    EXPECT_EQ(f.fake->lastInput(SMCCommand::keyByIndex)->data32, 1u);
    EXPECT_EQ(thrownError([&] { f.bridge->keyAt(2); }), SMCError::keyNotFound("#IDX"));
    EXPECT_EQ(thrownError([&] { f.bridge->keyAt(4294967295); }), SMCError::keyNotFound("#IDX"));
    f.fake->setIndexResult(0, 0x85);
    EXPECT_EQ(thrownError([&] { f.bridge->keyAt(0); }), SMCError::notReadable("#IDX"));

    f.fake->failEveryCall(5);
    EXPECT_EQ(thrownError([&] { f.bridge->keyCount(); }), SMCError::callFailed(5));
    EXPECT_FALSE(f.bridge->hasKey("TZZZ"));
    EXPECT_TRUE(f.bridge->hasKey("TC0P")); // cached before the failure
}

TEST(SMCKernelBridge, CodecFailuresAreCodecErrorsAndSendNothing) {
    auto f = makeFakeBridge();
    f.fake->setRaw("CHIP", FourCC::code("ch8*"), 4, {'M', '3', 0, 0});
    const auto decode = thrownError([&] { f.bridge->read("CHIP"); });
    ASSERT_TRUE(decode);
    EXPECT_EQ(decode->kind(), SMCError::Kind::codec);
    EXPECT_EQ(decode->text(), "decode CHIP: unsupportedType(\"ch8*\")");

    // A declared size of 0 reads as no bytes, which no type decodes.
    f.fake->setRaw("TC0P", SMCDataType::sp78Code, 0, {0x2D, 0x80});
    EXPECT_TRUE(f.bridge->readRaw("TC0P").bytes.empty());
    EXPECT_EQ(thrownError([&] { f.bridge->read("TC0P"); }),
              SMCError::codec("decode TC0P: sizeMismatch(expected: 2, got: 0)"));

    f.fake->setRaw("F0Md", SMCDataType::ui8Code, 2, {0, 0});
    EXPECT_EQ(thrownError([&] { f.bridge->write("F0Md", 1.0); }),
              SMCError::codec("size mismatch for F0Md: encoded 1 != 2"));
    f.fake->setValue("F0Tg", Kind::fpe2, 1200.0);
    EXPECT_EQ(thrownError([&] { f.bridge->write("F0Tg", -1.0); }),
              SMCError::codec("encode F0Tg: valueOutOfRange(-1.0)"));
    EXPECT_EQ(f.fake->calls(SMCCommand::writeValue), 0);
    EXPECT_EQ(f.fake->bytes("F0Tg"), (Bytes{0x12, 0xC0}));

    // A write that fits carries key, size and type, its bytes and zero behind them.
    f.bridge->write("F0Tg", 2000.0);
    EXPECT_EQ(f.fake->bytes("F0Tg"), (Bytes{0x1F, 0x40}));
    const SMCParamStruct sent = *f.fake->lastInput(SMCCommand::writeValue);
    EXPECT_EQ(sent.key, FourCC::code("F0Tg"));
    EXPECT_EQ(sent.keyInfo.dataSize, 2u);
    EXPECT_EQ(sent.keyInfo.dataType, SMCDataType::fpe2Code);
    EXPECT_EQ(sent.valueBytes(32), (Bytes{0x1F, 0x40, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                                          0,    0,    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(SMCKernelBridge, KeyCountAndIndexPreconditions) {
    auto f = makeFakeBridge();
    f.fake->setValue("TC0P", Kind::sp78, 40.0);
    f.fake->setValue("TG0P", Kind::sp78, 40.0);
    EXPECT_EQ(f.bridge->keyCount(), 2);
    f.fake->setKeyCount(4000000000u);
    EXPECT_EQ(f.bridge->keyCount(), 4000000000);
    // Key information is cached for good, so a "#KEY" of another type needs a new bridge.
    const auto countAsFloat = [](Bytes bytes) {
        auto g = makeFakeBridge();
        g.fake->setRaw("#KEY", SMCDataType::fltCode, 4, std::move(bytes));
        return g.bridge->keyCount();
    };
    EXPECT_EQ(countAsFloat({0x00, 0x00, 0x80, 0xBF}), -1);                    // -1.0
    EXPECT_EQ(countAsFloat({0x00, 0x00, 0x20, 0x40}), 2);                     // 2.5
    EXPECT_EQ(countAsFloat({0xFF, 0xFF, 0x7F, 0x7F}), std::int64_t{1} << 62); // FLT_MAX

    EXPECT_DEATH(f.bridge->keyAt(-1), "key index -1");
    EXPECT_DEATH(f.bridge->keyAt(4294967296), "outside");
    EXPECT_DEATH(f.bridge->read("TC0"), "four bytes");
}

TEST(SMCKernelBridge, TwoThreadsShareOneBridge) {
    const auto [fake, shared] = makeFakeBridge();
    SMCKernelBridge& bridge = *shared;
    constexpr int keyCount = 256;
    constexpr int passes = 4;
    std::vector<std::string> keys;
    keys.reserve(keyCount);
    for (int i = 0; i < keyCount; ++i) {
        keys.push_back("T" + std::to_string(100 + i));
        fake->setValue(keys.back(), Kind::ui16, i);
    }

    // Both threads start together and walk the keys in the same order, so that on the first
    // pass they keep missing the cache for the same key at the same time.
    std::latch start(2);
    int wrong[2] = {0, 0};
    auto reader = [&](int which) {
        start.arrive_and_wait();
        for (int pass = 0; pass < passes; ++pass) {
            for (int i = 0; i < keyCount; ++i) {
                const auto& key = keys[static_cast<std::size_t>(i)];
                if (bridge.read(key) != i || !bridge.hasKey(key)) {
                    ++wrong[which];
                }
            }
        }
    };
    {
        const std::jthread first(reader, 0);
        const std::jthread second(reader, 1);
    }
    EXPECT_EQ(wrong[0] + wrong[1], 0);
    EXPECT_EQ(fake->calls(SMCCommand::readValue), 2 * passes * keyCount);
    // Each key is asked at most once per thread, however the misses interleave.
    EXPECT_GE(fake->calls(SMCCommand::keyInformation), keyCount);
    EXPECT_LE(fake->calls(SMCCommand::keyInformation), 2 * keyCount);
}

} // namespace
} // namespace halvoren

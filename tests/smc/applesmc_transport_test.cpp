// The applesmc transport builds only on Linux.
#if defined(__linux__)

#include "core/four_cc.h"
#include "core/smc_data_codec.h"
#include "smc/linux/applesmc_transport.h"
#include "smc_test_support.h"
#include "temp_directory.h"

#include <gtest/gtest.h>
#include <tuple>

namespace halvoren {
namespace {

using testing::writeFile;

SMCParamStruct command(SMCCommand c, const std::string& key = "", std::uint32_t index = 0) {
    SMCParamStruct input;
    input.data8 = static_cast<std::uint8_t>(c);
    input.key = key.empty() ? 0 : FourCC::code(key);
    input.data32 = index;
    return input;
}

// Key information as (type text, size); the result must be success.
std::pair<std::string, std::uint32_t> info(SMCTransport& t, const std::string& key) {
    const SMCParamStruct out = t.call(command(SMCCommand::keyInformation, key));
    EXPECT_EQ(out.result, SMCResult::success) << key;
    return {FourCC::string(out.keyInfo.dataType), out.keyInfo.dataSize};
}

// The value of a key, decoded with its type, as a reader above the transport would.
double value(SMCTransport& t, const std::string& key) {
    const SMCParamStruct keyInfo = t.call(command(SMCCommand::keyInformation, key));
    SMCParamStruct input = command(SMCCommand::readValue, key);
    input.keyInfo.dataSize = keyInfo.keyInfo.dataSize;
    const SMCParamStruct out = t.call(input);
    EXPECT_EQ(out.result, SMCResult::success) << key;
    return SMCDataCodec::decode(out.valueBytes(keyInfo.keyInfo.dataSize),
                                SMCDataType::fromRawType(keyInfo.keyInfo.dataType));
}

std::uint8_t readResult(SMCTransport& t, const std::string& key) {
    return t.call(command(SMCCommand::readValue, key)).result;
}

class AppleSMCTree : public ::testing::Test {
protected:
    void SetUp() override { testing::writeAppleSMCTree(root.path()); }

    testing::TempDirectory root;
    std::filesystem::path smc = root / "hwmon2";
};

TEST_F(AppleSMCTree, ListsCountsFansThenTemperatureLabelsAndReadsTheirFiles) {
    AppleSMCTransport t(root.path());
    const std::tuple<const char*, const char*, std::uint32_t, double> keys[] = {
        {"#KEY", "ui32", 4, 15.0},   {"FNum", "ui8 ", 1, 2.0},    {"F0Ac", "fpe2", 2, 1203.0},
        {"F0Mn", "fpe2", 2, 1000.0}, {"F0Mx", "fpe2", 2, 6200.0}, {"F0Tg", "fpe2", 2, 1300.0},
        {"F0Md", "ui8 ", 1, 0.0},    {"F1Ac", "fpe2", 2, 0.0},    {"F1Mn", "fpe2", 2, 1200.0},
        {"F1Mx", "fpe2", 2, 5800.0}, {"F1Tg", "fpe2", 2, 0.0},    {"F1Md", "ui8 ", 1, 1.0},
        {"TC0P", "sp78", 2, 45.25},  {"TB0T", "sp78", 2, -2.5},   {"Ts0S", "sp78", 2, 30.75}};
    std::vector<std::string> listed;
    for (std::uint32_t i = 0; i < std::size(keys); ++i) {
        const auto& [key, type, size, expected] = keys[i];
        listed.emplace_back(key);
        const SMCParamStruct out = t.call(command(SMCCommand::keyByIndex, "", i));
        EXPECT_EQ(out.result, SMCResult::success) << key;
        EXPECT_EQ(FourCC::string(out.key), key);
        EXPECT_EQ(info(t, key), std::make_pair(std::string(type), size)) << key;
        EXPECT_EQ(value(t, key), expected) << key;
    }
    EXPECT_EQ(t.keys(), listed);
    EXPECT_EQ(t.call(command(SMCCommand::keyByIndex, "", 15)).result, SMCResult::keyNotFound);
    for (const char* absent : {"TX0P", "F2Ac", "T3  "}) {
        EXPECT_EQ(t.call(command(SMCCommand::keyInformation, absent)).result, SMCResult::keyNotFound)
            << absent;
        EXPECT_EQ(readResult(t, absent), SMCResult::keyNotFound) << absent;
    }

    // The raw image: sp78 45.25 is 0x2D40, big-endian, zero behind.
    const SMCParamStruct out = t.call(command(SMCCommand::readValue, "TC0P"));
    EXPECT_EQ(out.valueBytes(4), (std::vector<std::uint8_t>{0x2D, 0x40, 0, 0}));

    // Values change under a live driver; the files are read again each time.
    writeFile(smc / "temp1_input", "61500");
    writeFile(smc / "fan1_input", "2400");
    EXPECT_EQ(value(t, "TC0P"), 61.5);
    EXPECT_EQ(value(t, "F0Ac"), 2400.0);
}

TEST_F(AppleSMCTree, RefusesWritesAndReportsUnreadableAttributes) {
    AppleSMCTransport t(root.path());
    SMCParamStruct write = command(SMCCommand::writeValue, "F0Tg");
    write.keyInfo.dataSize = 2;
    write.keyInfo.dataType = SMCDataType::fpe2Code;
    write.setValueBytes(SMCDataCodec::encode(3000.0, SMCDataType::Kind::fpe2));
    EXPECT_EQ(t.call(write).result, SMCResult::notWritable);
    EXPECT_EQ(value(t, "F0Tg"), 1300.0);

    std::filesystem::remove(smc / "temp1_input");
    EXPECT_EQ(readResult(t, "TC0P"), SMCResult::notReadable);
    EXPECT_EQ(info(t, "TC0P"), std::make_pair(std::string("sp78"), 2u)); // still listed
    writeFile(smc / "fan1_max", "fast");
    EXPECT_EQ(readResult(t, "F0Mx"), SMCResult::notReadable);
    writeFile(smc / "temp2_input", "200000"); // beyond what sp78 holds
    EXPECT_EQ(readResult(t, "TB0T"), SMCResult::notReadable);
    writeFile(smc / "fan2_input", "-5");
    EXPECT_EQ(readResult(t, "F1Ac"), SMCResult::notReadable);

    writeFile(smc / "temp1_input", "50000");
    EXPECT_EQ(value(t, "TC0P"), 50.0);
    EXPECT_EQ(t.call(command(static_cast<SMCCommand>(7), "TC0P")).result, AppleSMCTransport::badCommand);
}

TEST(AppleSMCTransport, FindsTheDriverOnlyByName) {
    const testing::TempDirectory root;
    EXPECT_THROW(AppleSMCTransport{root / "absent"}, SMCError);
    // The applesmc directory is not an hwmon one.
    testing::writeFiles(root.path(), {"hwmon0/name=coretemp", "hwmon0/temp1_label=TC0P",
                                      "hwmon0/temp1_input=45000", "applesmc/name=applesmc"});
    EXPECT_EQ(thrownError([&] { AppleSMCTransport{root.path()}; }), SMCError::serviceNotFound());

    // Older kernels keep the name and every attribute under device/; fans count from 1
    // without gaps.
    testing::writeFiles(root / "hwmon1/device", {"name=applesmc", "fan1_input=1800", "fan3_input=1900",
                                                 "temp1_label=TA0P", "temp1_input=21000"});
    AppleSMCTransport t(root.path());
    EXPECT_EQ(t.keys(),
              (std::vector<std::string>{"#KEY", "FNum", "F0Ac", "F0Mn", "F0Mx", "F0Tg", "F0Md", "TA0P"}));
    EXPECT_EQ(value(t, "TA0P"), 21.0);
    EXPECT_EQ(value(t, "F0Ac"), 1800.0);
    EXPECT_EQ(value(t, "FNum"), 1.0);
    EXPECT_EQ(readResult(t, "F0Mn"), SMCResult::notReadable); // no fan1_min file
}

} // namespace
} // namespace halvoren

#endif

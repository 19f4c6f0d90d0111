#include "../smc/smc_test_support.h"
#include "../smc/temp_directory.h"
#include "core/fan_key.h"
#include "core/four_cc.h"
#include "core/smc_data_codec.h"
#include "sim_test_support.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <set>

namespace halvoren {
namespace {

using test::Exchange;

const std::string alphabet = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

// The number of runs of adjacent two-character suffixes in a key family.
int familyRuns(const MachineProfile& profile, const std::string& prefix) {
    std::set<std::size_t> indices;
    for (const auto& key : profile.keys) {
        if (key.name.size() == 4 && key.name.starts_with(prefix) &&
            alphabet.find(key.name[2]) != std::string::npos &&
            alphabet.find(key.name[3]) != std::string::npos) {
            indices.insert(alphabet.find(key.name[2]) * 62 + alphabet.find(key.name[3]));
        }
    }
    return static_cast<int>(
        std::ranges::count_if(indices, [&](std::size_t i) { return i == 0 || !indices.contains(i - 1); }));
}

TEST(MachineProfile, EveryBuiltInProfileParsesAndServesEveryKeyInOrder) {
    const auto names = MachineProfile::builtInNames();
    EXPECT_EQ(names, (std::vector<std::string>{"apple-silicon-desktop-1fan", "apple-silicon-laptop-2fan",
                                               "apple-silicon-laptop-fanless", "intel-laptop"}));
    EXPECT_FALSE(MachineProfile::builtIn("no-such-machine"));

    for (const auto& name : names) {
        SCOPED_TRACE(name);
        const MachineProfile profile = test::builtIn(name);
        EXPECT_EQ(profile.name, name);
        ManualClock clock;
        SimulatedMac mac(profile, clock, 7, sustainedLoad());
        Exchange ex{mac};
        clock.advance(120.0);

        const double count = ex.read("#KEY");
        ASSERT_EQ(count, static_cast<double>(profile.keys.size()));
        int implausible = 0;
        for (std::uint32_t i = 0; i < static_cast<std::uint32_t>(count); ++i) {
            const auto byIndex = ex.atIndex(i);
            ASSERT_EQ(byIndex.result, 0);
            const std::string key = FourCC::string(byIndex.key);
            ASSERT_EQ(key, profile.keys[i].name);
            const auto info = ex.info(key);
            ASSERT_EQ(info.result, 0) << key;
            const auto type = SMCDataType::fromRawType(info.keyInfo.dataType);
            const auto read = ex.readRaw(key, info.keyInfo.dataSize);
            ASSERT_EQ(read.result, 0) << key;
            if (type.kind() == SMCDataType::Kind::other) {
                continue;
            }
            EXPECT_EQ(type.byteCount(), static_cast<int>(info.keyInfo.dataSize)) << key;
            const double value = SMCDataCodec::decode(read.valueBytes(info.keyInfo.dataSize), type);
            EXPECT_TRUE(std::isfinite(value)) << key;
            const bool temperature = key[0] == 'T' && (type.kind() == SMCDataType::Kind::flt ||
                                                       type.kind() == SMCDataType::Kind::sp78);
            implausible += temperature && (value < -40.0 || value > 130.0) ? 1 : 0;
        }
        EXPECT_GE(implausible, 1) << "some temperature key should read outside -40...130";
        EXPECT_EQ(ex.atIndex(static_cast<std::uint32_t>(count)).result, 0xB8);
    }
}

TEST(MachineProfile, ProfilesCarryTheKeyFamiliesOfTheirMachines) {
    // Scattered as on the real machine: runs of adjacent suffixes, not one block per family.
    const auto laptop = test::builtIn("apple-silicon-laptop-2fan");
    EXPECT_EQ(laptop.coreCounts.performance, 8);
    EXPECT_EQ(laptop.coreCounts.efficiency, 4);
    EXPECT_GE(familyRuns(laptop, "Tp"), 8);
    EXPECT_EQ(familyRuns(laptop, "Te"), 4);
    EXPECT_GE(familyRuns(laptop, "Tg") + familyRuns(laptop, "TG"), 5);
    const auto typeOf = [](const MachineProfile& p, const std::string& key) {
        const auto* found = p.key(key);
        return found ? FourCC::string(found->typeCode) : "missing";
    };
    for (int fan = 0; fan < 2; ++fan) {
        for (const auto& key :
             {FanKey::current(fan), FanKey::minimum(fan), FanKey::maximum(fan), FanKey::target(fan)}) {
            EXPECT_EQ(typeOf(laptop, key), "flt ") << key;
        }
        EXPECT_EQ(typeOf(laptop, FanKey::mode(fan)), "ui8 ");
    }

    const auto desktop = test::builtIn("apple-silicon-desktop-1fan");
    EXPECT_EQ(desktop.thermal.fans.size(), 1u);
    EXPECT_NE(desktop.key("Tex3"), nullptr);
    EXPECT_EQ(desktop.key("F1Ac"), nullptr);
    // How each forces its fans: the laptop directly, the desktop after Ftst, Intel by bits.
    EXPECT_EQ(laptop.key("Ftst"), nullptr);
    EXPECT_NE(desktop.key("Ftst"), nullptr);

    const auto fanless = test::builtIn("apple-silicon-laptop-fanless");
    EXPECT_TRUE(fanless.thermal.fans.empty());
    for (const auto& key : fanless.keys) {
        EXPECT_TRUE(key.name == "FNum" || key.name[0] != 'F') << key.name;
    }

    const auto intel = test::builtIn("intel-laptop");
    for (const auto& [key, type] : {std::pair{"F0Ac", "fpe2"},
                                    {"F1Tg", "fpe2"},
                                    {"TC0P", "sp78"},
                                    {"PC0C", "sp96"},
                                    {"PSTR", "flt "},
                                    {"FS! ", "ui16"}}) {
        EXPECT_EQ(typeOf(intel, key), type) << key;
    }
    EXPECT_EQ(intel.key("F0Md"), nullptr);
}

// The ProfileError that `load` raises, as its message, or "none".
template <class F>
std::string errorOf(F&& load) {
    return thrownMessage<ProfileError>(load);
}

std::string parseError(const std::string& text) {
    return errorOf([&] { MachineProfile::parse(text); });
}

// A small valid profile with `keys` spliced in, and `extra` top-level members.
std::string profileWith(const std::string& keys, const std::string& extra = "") {
    return R"({"name": "t", "coreCounts": {"performance": 1, "efficiency": 0}, "ambient": 20,
        "nodes": [{"id": "cpu", "heatCapacity": 10, "initial": 30, "cpuPower": 5, "ambientConductance": 1}],
        "fans": [{"minimum": 1000, "maximum": 5000, "spinRate": 1000}],
        "firmware": {"start": 40, "full": 80}, )" +
           extra + R"("keys": [)" + keys + "]}";
}

TEST(MachineProfile, ParseRefusesCorruptOrInconsistentProfilesWithAClearMessage) {
    EXPECT_EQ(
        parseError(profileWith(
            R"({"key": "TC0P", "type": "sp78", "size": 2, "source": {"kind": "sensor", "node": "cpu"}})")),
        "none");
    EXPECT_EQ(parseError("{\"name\": \"t\",\n \"keys\": [}"),
              "not valid JSON: parse error at line 2, column 11: syntax error while parsing value - "
              "unexpected '}'; "
              "expected '[', '{', or a literal");
    EXPECT_EQ(parseError(R"({"ambient": 1e333})"), "not valid JSON: number overflow parsing '1e333'");
    EXPECT_EQ(parseError("[]"), "profile: is not an object");
    EXPECT_EQ(parseError(R"({"name": "t"})"), "profile: missing key \"coreCounts\"");

    const std::map<std::string, std::string> cases{
        {R"({"key": "TC0P", "type": "sp78", "size": 2, "source": {"kind": "sensor", "node": "gpu"}})",
         "keys[0] \"TC0P\" source: unknown node \"gpu\""},
        {R"({"key": "TC0", "type": "sp78", "size": 2, "value": 1})",
         "keys[0]: \"key\" must be four bytes of UTF-8"},
        {R"({"key": "TC0P", "type": "sp78", "size": 4, "value": 1})",
         "keys[0] \"TC0P\": a sp78 value has 2 bytes, not 4"},
        {R"({"key": "ABCD", "type": "ui8", "size": 1, "value": 300})",
         "keys[0] \"ABCD\": \"value\" 300.0 cannot be written as ui8: valueOutOfRange(300.0)"},
        {R"({"key": "ABCD", "type": "ch8*", "size": 4, "bytes": "414243"})",
         "keys[0] \"ABCD\": \"bytes\" holds 3 bytes, not 4"},
        {R"({"key": "ABCD", "type": "ch8*", "size": 2, "bytes": "41zz"})",
         "keys[0] \"ABCD\": \"bytes\" holds a character that is not a hexadecimal digit"},
        {R"({"key": "ABCD", "type": "ui8", "size": 1})",
         "keys[0] \"ABCD\": needs exactly one of \"value\" and \"bytes\""},
        {R"({"key": "ABCD", "type": "ui8", "size": 1, "value": 1, "vaule": 2})",
         "keys[0]: unknown member \"vaule\""},
        {R"({"key": "ABCD", "type": "ui8", "size": 1, "value": 1}, {"key": "ABCD", "type": "ui8", "size": 1, "value": 2})",
         "keys[1] \"ABCD\": the key is listed twice"},
        {R"({"key": "#KEY", "type": "ui32", "size": 4, "value": 3})",
         "keys[0] \"#KEY\": must count the keys (source kind \"keyCount\")"},
        {R"({"key": "F1Ac", "type": "flt", "size": 4, "source": {"kind": "fan", "fan": 1, "field": "actual"}})",
         "keys[0] \"F1Ac\" source: fan 1 does not exist"},
        {R"({"key": "PC0C", "type": "sp96", "size": 2, "source": {"kind": "load", "cpu": 1}})",
         "keys[0] \"PC0C\": a key that follows the model needs a type the codec converts, not sp96"},
        {R"({"key": "F0Ac", "type": "flt", "size": 4, "value": 1, "source": {"kind": "fan", "fan": 0, "field": "actual"}})",
         "keys[0] \"F0Ac\": a key that follows the model takes no \"value\" or \"bytes\""},
    };
    for (const auto& [keys, message] : cases) {
        EXPECT_EQ(parseError(profileWith(keys)), message);
    }
    EXPECT_EQ(parseError(profileWith("", R"("throttle": {"start": 90, "span": 0, "floor": 0.5},)")),
              "throttle: needs a span above 0 and a floor in 0...1");
    // A node so light that one 50 ms step would overshoot its equilibrium.
    std::string light = profileWith("");
    light.replace(light.find("\"heatCapacity\": 10"), 18, "\"heatCapacity\": 0.1");
    EXPECT_EQ(parseError(light),
              "nodes[0]: \"heatCapacity\" is too small for its conductances to integrate stably");
    std::string instant = profileWith("");
    instant.replace(instant.find("\"full\": 80}"), 11, "\"full\": 80, \"releaseDelay\": -1}");
    EXPECT_EQ(parseError(instant), "firmware: \"releaseDelay\" is negative: -1.0");
}

TEST(MachineProfile, LoadReadsAnyPathAndNamesTheFileInItsErrors) {
    const testing::TempDirectory temp;
    const auto& dir = temp.path();
    const auto write = [&](const std::string& name, const std::string& text) {
        testing::writeFile(dir / name, text);
        return dir / name;
    };
    const auto good =
        write("good.json",
              profileWith(R"({"key": "#KEY", "type": "ui32", "size": 4, "source": {"kind": "keyCount"}})"));
    EXPECT_EQ(MachineProfile::load(good).keys.size(), 1u);

    const std::string builtInText = profileWith("");
    const auto cut = write("cut.json", builtInText.substr(0, builtInText.size() / 2));
    const auto message = [](const std::filesystem::path& path) {
        return errorOf([&] { MachineProfile::load(path); });
    };
    EXPECT_TRUE(message(cut).starts_with(cut.string() + ": not valid JSON: parse error")) << message(cut);
    EXPECT_EQ(message(dir / "absent.json"), (dir / "absent.json").string() + ": cannot be read");
    EXPECT_EQ(message(dir), dir.string() + ": cannot be read");

    // By name: a built-in profile first, then a file; a file's own fault is told as it is.
    EXPECT_EQ(MachineProfile::named("intel-laptop").name, "intel-laptop");
    EXPECT_EQ(MachineProfile::named(good.string()).keys.size(), 1u);
    const auto named = [](const std::string& nameOrPath) {
        return errorOf([&] { MachineProfile::named(nameOrPath); });
    };
    EXPECT_TRUE(named(cut.string()).starts_with(cut.string() + ": not valid JSON")) << named(cut.string());
    const std::string unknown = named((dir / "absent.json").string());
    EXPECT_TRUE(unknown.starts_with("unknown simulated machine \"" + (dir / "absent.json").string() +
                                    "\" (built in: "))
        << unknown;
    for (const auto& name : MachineProfile::builtInNames()) {
        EXPECT_NE(unknown.find(name), std::string::npos) << name;
    }
}

} // namespace
} // namespace halvoren

#include "engine_fixture.h"

namespace halvoren {
namespace {

TEST_F(EngineTest, MaxPresetRampsFromTheMeasuredSpeed) {
    makeEngine();
    connect();
    engine->apply(sweep({temperatureSensor("Tp01", 60.0)}, {fan(0, 2000.0)}));
    engine->selectPreset(FanPreset::max);
    run(engine->applyControlTick(*engine->activeProfile().value(), {fan(0, 2000.0)}));
    run(engine->applyControlTick(*engine->activeProfile().value(), {fan(0, 2000.0)}));
    EXPECT_EQ(driver.writesTo(0), (std::vector<double>{2090.0, 2180.0}));
    EXPECT_TRUE(engine->isControlling());
}

} // namespace
} // namespace halvoren

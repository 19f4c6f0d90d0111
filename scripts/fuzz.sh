#!/usr/bin/env bash
# Builds the fuzz targets (the fuzz preset: clang, libFuzzer, AddressSanitizer and
# UndefinedBehaviorSanitizer) and runs each for SECONDS, one after another on one core.
#   scripts/fuzz.sh [SECONDS] [TARGET...]     (default: 600 seconds, every target)
# Each target starts from seeds made by the program's own encoders (fuzz/make_seeds.cpp), the
# machine profiles of data/machines and the saved inputs of fuzz/corpus/<target>, and keeps what
# it finds in build/fuzz/corpus/<target> for the next run. An input that crashes or breaks a
# checked property is written to build/fuzz/findings/ and makes the script fail.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds="${1:-600}"
shift || true
if ! [[ "$seconds" =~ ^[0-9]+$ ]] || [ "$seconds" -lt 1 ]; then
  echo "usage: scripts/fuzz.sh [SECONDS] [TARGET...]" >&2
  exit 2
fi

mkdir -p build
if ! cmake --workflow --preset fuzz >build/fuzz-build.log 2>&1; then
  tail -60 build/fuzz-build.log >&2
  echo "fuzz: the build failed; the whole log is build/fuzz-build.log" >&2
  exit 1
fi
bin=build/fuzz/bin
targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
  targets=(fuzz_helper_frames fuzz_smc_codec fuzz_model_json fuzz_custom_modes fuzz_settings_store
           fuzz_machine_profile fuzz_thermal_almanac)
fi

seeds=build/fuzz/seeds
rm -rf "$seeds"
"$bin/make_seeds" "$seeds"
mkdir -p "$seeds/fuzz_machine_profile" build/fuzz/findings
cp data/machines/*.json "$seeds/fuzz_machine_profile/"

export QT_QPA_PLATFORM=offscreen
failed=()
for target in "${targets[@]}"; do
  corpus=build/fuzz/corpus/$target
  mkdir -p "$corpus" "$seeds/$target"
  dirs=("$corpus" "$seeds/$target")
  [ -d "fuzz/corpus/$target" ] && dirs+=("fuzz/corpus/$target")
  log=build/fuzz/$target.log
  echo "fuzz: $target for ${seconds}s"
  if "$bin/$target" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
      -artifact_prefix="build/fuzz/findings/$target-" "${dirs[@]}" >"$log" 2>&1; then
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    echo "fuzz: $target passed, $runs executions, $(find "$corpus" -type f | wc -l) inputs in its corpus"
  else
    echo "fuzz: $target FAILED; the input is in build/fuzz/findings/, the log:" >&2
    grep -v '^#' "$log" | tail -40 >&2
    failed+=("$target")
  fi
done

if [ ${#failed[@]} -ne 0 ]; then
  echo "fuzz: ${#failed[@]} failed: ${failed[*]}" >&2
  exit 1
fi
echo "fuzz: all ${#targets[@]} targets passed"

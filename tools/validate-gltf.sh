#!/usr/bin/env bash
# Converts every demo scene, every scene of the project (tests/data/scenes),
# and every scene of the shared Maya collections that exports (maya-ascii,
# maya-truth, maya-artists, two assembled from references), to .glb and .gltf with `twi gltf` and checks
# each with the Khronos glTF validator. Exits 1 on any validator error or
# failed conversion, and on an export failure of a demo, project, maya-ascii
# or maya-truth scene other than the designed refusals; artists' scenes that
# mayasim cannot load or evaluate yet are listed (the tests check each
# refusal's reason).
#
#   tools/validate-gltf.sh [BUILD_DIR] [OUT_DIR]
#
# BUILD_DIR defaults to build/release, OUT_DIR (where the .twi and .glb files
# stay for a look) to BUILD_DIR/gltf-validation. Needs Node.js and npm: the
# validator comes from npm (`npm ci` in tools/, run here when missing).
# Without them it prints one line saying so and exits 0, unless
# TW_REQUIRE_NODE=1 (CI), which makes that a failure; TW_REQUIRE_TESTDATA=1
# does the same for a missing Maya ASCII collection.
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
root="$(dirname "$here")"
build="${1:-$root/build/release}"
out="${2:-$build/gltf-validation}"
twi="$build/tools/twi"
export_tool="$build/tools/twi-export"
# The shared collections: where the build looks for the shared test data.
shared=""
for candidate in "${TW_SHARED_TESTDATA:-}" "$root/../shared/testdata" /work/shared/testdata; do
  if [ -n "$candidate" ] && [ -d "$candidate/maya-ascii" ]; then shared="$candidate"; break; fi
done

if ! command -v node >/dev/null || ! command -v npm >/dev/null; then
  echo "glTF validation skipped: Node.js and npm are not installed (apt-get install nodejs npm)"
  [ "${TW_REQUIRE_NODE:-0}" = 1 ] && exit 1
  exit 0
fi
for tool in "$twi" "$export_tool"; do
  [ -x "$tool" ] || { echo "validate-gltf: $tool is not built (cmake --build --preset release)"; exit 1; }
done
if [ ! -d "$here/node_modules/gltf-validator" ]; then
  echo "installing the validator from npm (npm ci in tools/)"
  (cd "$here" && npm ci --no-audit --no-fund --loglevel=error)
fi

mkdir -p "$out"
glbs=()
convert() { # NAME TWI: both forms, each checked
  for form in glb gltf; do
    if ! "$twi" gltf "$2" -o "$out/$1.$form" > "$out/$1.$form-report.txt"; then
      echo "$1: twi gltf failed"; cat "$out/$1.$form-report.txt"; exit 1
    fi
    glbs+=("$out/$1.$form")
  done
}
# Scenes the exporter refuses by design (two nodes of one name): they are
# listed, and any other export failure fails this script.
refused_by_design=" clash mayausd_UsdExportInstancesTest "
export_or_refuse() { # NAME SOURCE [listed]
  if "$export_tool" "$2" -o "$out/$1.twi" > "$out/$1.export.txt" 2>&1; then
    convert "$1" "$out/$1.twi"
  elif [[ "$refused_by_design" == *" ${1#demo_} "* ]]; then
    echo "$1: not exported, as designed: $(grep -m1 'already found' "$out/$1.export.txt" || tail -n1 "$out/$1.export.txt")"
  elif [ "${3:-}" = listed ]; then
    echo "$1: not exported: $(grep '^twi-export: ' "$out/$1.export.txt" | grep -v '^twi-export: loaded ' | tail -n1 | cut -c1-220)"
  else
    echo "$1: export failed"; cat "$out/$1.export.txt"; exit 1
  fi
}
demos=$("$export_tool" --list-demos | awk '$1 ~ /^demo:/ {print substr($1, 6)}')
[ -n "$demos" ] || { echo "validate-gltf: twi-export --list-demos named no scene"; exit 1; }
for d in $demos; do
  export_or_refuse "demo_$d" "demo:$d"
done
for ma in "$root"/tests/data/scenes/*.ma; do
  export_or_refuse "project_$(basename "$ma" .ma)" "$ma"
done
if [ -n "$shared" ]; then
  for ma in "$shared"/maya-ascii/*.ma "$shared"/maya-truth/*.ma; do
    export_or_refuse "$(basename "$ma" .ma)" "$ma"
  done
  for ma in "$shared"/maya-artists/*.ma; do
    export_or_refuse "$(basename "$ma" .ma)" "$ma" listed
  done
  # Scenes assembled from references nested three deep, and one file
  # referenced twice with edits.
  for ma in "$shared"/maya-references/refbase.ma "$shared"/maya-references/ref2re.ma; do
    export_or_refuse "references_$(basename "$ma" .ma)" "$ma"
  done
elif [ "${TW_REQUIRE_TESTDATA:-0}" = 1 ]; then
  echo "validate-gltf: the Maya ASCII collection is missing (looked in \$TW_SHARED_TESTDATA, ../shared/testdata, /work/shared/testdata)"
  exit 1
else
  echo "validate-gltf: no Maya ASCII collection found; demo scenes only"
fi
node "$here/gltf_validate.mjs" "${glbs[@]}"

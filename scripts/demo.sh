#!/usr/bin/env bash
# The README's first command: installs the packages, builds the library, the zelklog tool
# and the sample log set (build/examples), then queries the sample set.
#   scripts/demo.sh [ZELKLOG QUERY ARGUMENTS]   (default: every record)
#   ZELK_SKIP_INSTALL=1 skips the package step.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
if [ "${ZELK_SKIP_INSTALL:-0}" != 1 ]; then
  echo "demo: installing packages" >&2
  "$root/scripts/install-deps.sh" >/dev/null
fi
echo "demo: building the tool and the sample log set in build/" >&2
cmake -S "$root" -B "$root/build" -G Ninja >/dev/null
cmake --build "$root/build" -j2 --target zelklog examples >/dev/null
export ZELKLOG_CONFIG=$root/build/examples/config/zelklog.conf
# The sample records are dated in UTC; show them in UTC wherever the demo runs.
TZ=${TZ:-UTC} "$root/build/tools/zelklog" query --no-pager \
  --format-resource "$root/build/examples/messages" "$@"

#!/usr/bin/env bash
# The first command of the README: installs the packages, builds the library, the tool
# and the sample log set, then runs a query over the sample set.
#   scripts/demo.sh [FILTER]     (default: every record; ZELK_SKIP_INSTALL=1 skips apt)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
if [ "${ZELK_SKIP_INSTALL:-0}" != 1 ]; then
  "$root/scripts/install-deps.sh" >/dev/null
fi
cmake -S "$root" -B "$root/build" -G Ninja >/dev/null
cmake --build "$root/build" -j2 --target zelklog examples >/dev/null
export ZELKLOG_CONFIG=$root/build/examples/config/zelklog.conf
# The sample records are dated in UTC; show them so wherever the demo runs.
TZ=${TZ:-UTC} "$root/build/tools/zelklog" query --no-pager "$@"

#!/usr/bin/env bash
# Compares the defined dynamic symbols of a shared library with the global list of its
# version script: nothing may leave the library that the script does not name, and
# every name of the script must be defined.
set -euo pipefail
lib=$1
map=$2
expected=$(sed -e 's@/\*.*\*/@@g' "$map" | awk '/global:/{g=1;next} /local:/{g=0} g' |
           tr ';' '\n' | tr -d ' \t' | { grep -v '^$' || true; } | sort -u)
actual=$(nm -D --defined-only "$lib" | awk '$2 ~ /^[TDBRVW]$/ {print $3}' |
         sed 's/@.*//' | { grep -v '^ZELKLOGREAD_3$' || true; } | sort -u)
extra=$(comm -13 <(echo "$expected") <(echo "$actual"))
missing=$(comm -23 <(echo "$expected") <(echo "$actual"))
status=0
if [ -n "$extra" ]; then
  echo "exported but not in the interface:"; echo "$extra"; status=1
fi
if [ -n "$missing" ]; then
  echo "in the interface but not exported:"; echo "$missing"; status=1
fi
exit $status

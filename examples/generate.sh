#!/usr/bin/env bash
# Builds the sample log set into OUT_DIR from the text in this directory:
#   generate.sh ZELKLOG_BINARY OUT_DIR
# OUT_DIR/config/zelklog.conf is the global store (export ZELKLOG_CONFIG=...);
# the log files under OUT_DIR/logs are written by `zelklog write` from records/*.jsonl.
set -euo pipefail
zelklog=$1 out=$2
src=$(cd "$(dirname "$0")" && pwd)
rm -rf "$out/config" "$out/logs" "$out/messages"
mkdir -p "$out/config" "$out/logs/billing" "$out/logs/shop" "$out/logs/backup"
cp -r "$src/messages" "$out/messages"
for store in zelklog billing shop backup; do
  sed "s|@DIR@|$out|g" "$src/config/$store.conf.in" >"$out/config/$store.conf"
done

# log file (under logs/)                     format   records          header text
while read -r file format records header; do
  ZELKLOG_CONFIG=$out/config/zelklog.conf "$zelklog" write --create --format "$format" \
    --header "$header" "$out/logs/$file" <"$src/records/$records"
done <<'LIST'
billing/billing.log                          0x10006  billing.jsonl    billing server 4.2 on alpha
billing/ls-000000000000002a-nightly.log      0x10008  nightly.jsonl    nightly reconciliation
shop/web.log                                 0x10005  web.jsonl        shop frontend on web-1
shop/payments.log                            0x10007  payments.jsonl   payment service on pay-1
backup/agent.log                             0x10004  agent.jsonl      backup agent 1.9
LIST

#!/usr/bin/env bash
# A fresh site's first sale paid with both receipts and the window's pictures; the operator
# panel's card reaching the simulator; a bad amount and a damaged site refused.
set -euo pipefail
till=$1 work=$2 data=$3 pictures=$4
rm -rf "$work" && mkdir -p "$work"
site=$work/site
fail() { echo "FAILED: $1"; echo "$out"; exit 1; }
run() { env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM "$till" --dir "$site" "$@" 2>&1; }

status=0 && out=$(run) || status=$?
[ $status -eq 0 ] || fail "first sale exited $status"
grep -q '^Outcome: Sale: PAID (AUTHORISED)' <<<"$out" || fail "outcome"
grep -Pzq '(?s)--- MERCHANT RECEIPT ---.*MERCHANT COPY.*--- CUSTOMER RECEIPT ---.*CUSTOMER COPY' \
  <<<"$out" || fail "receipts"
grep -q "^Pictures of the windows: $site/pictures$" <<<"$out" || fail "pictures folder"
for png in 1_card_wait 2_result 3_till 4_operator_panel; do
  [ "$(head -c 4 "$site/pictures/$png.png" | tail -c 3)" = PNG ] || fail "picture $png"
done

cp "$data/declined.script" "$work/" # its pictures land beside it
status=0 && out=$(run --card mc-contactless-pin --amount 100.05 --script "$work/declined.script") ||
  status=$?
[ $status -eq 3 ] || fail "declined sale exited $status"
grep -q '^Outcome: Sale: NOT PAID (DECLINED)' <<<"$out" || fail "declined outcome"
grep -q 'strPanLast4Digits *0011$' <<<"$out" || fail "the panel's card was not the one read"
grep -q '"card": "mc_contactless_pin"' "$site/config/qlclient.json" || fail "panel's card not kept"
! grep -rlaE '4761739001010119|5413330089020011' "$site" || fail "a card number in clear on disk"

mkdir -p "$pictures" # the README shows the till and the panel as the first sale left them
cp "$site/pictures/3_till.png" "$pictures/demo_till.png"
cp "$site/pictures/4_operator_panel.png" "$pictures/demo_operator_panel.png"

status=0 && out=$(run --amount 21474836.48) || status=$?
[ $status -eq 3 ] && grep -q 'is not an amount' <<<"$out" || fail "overflowing amount taken"

echo "not a database" >"$site/registry.db"
status=0 && out=$(run) || status=$?
[ $status -eq 2 ] && grep -q 'cannot be read' <<<"$out" || fail "damaged site used"
echo "demo till: all scripted runs as expected"

#!/bin/sh
# Reads an item of every kind with the tool, as a user would, and compares what it prints with
# expected.json (without the times).
#   opcda_test.sh BIN-FOLDER [RUNNER]     RUNNER runs Windows programs
set -eu
here=$(cd "$(dirname "$0")" && pwd)
bin=$1
runner=${2:-}
url='opcda://localhost/Korvex.Simulation.1/{6B0E7A52-3D1C-4F0A-9C4E-215B77D018E3}'
cd "$bin"

if [ -n "$runner" ]; then
    "$runner" regsvr32 /s KorvexSimulation.dll
    opcda=opcda.exe
else
    export KORVEX_OPC_SERVERS="$bin/servers"
    opcda=./opcda
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

types="Boolean Int8 Int16 Int32 Int64 UInt8 UInt16 UInt32 UInt64 Float Double Currency Date String Decimal"
items=
for type in $types; do
    items="$items Constant.$type Constant.${type}Array Register.$type Register.${type}Array"
done
items="$items Constant.VariantArray Constant.EmptyArray Register.VariantArray"
items="$items Quality.Good Quality.GoodHigh Quality.Bad Quality.Uncertain Enumerated.Mode Analog.Level"
items="$items Access.WriteOnly Error.Read No.Such.Item"

status=0
# shellcheck disable=SC2086 # one word an item
$runner $opcda read --json "$url" $items >"$work/printed" || status=$?
tr -d '\r' <"$work/printed" | grep -v '"time":' >"$work/compared"
[ "$status" -eq 1 ] || { echo "exit status $status instead of 1 for refused items"; exit 1; }
diff -u "$here/expected.json" "$work/compared"

expect_status() {
    wanted=$1
    shift
    got=0
    $runner $opcda "$@" >"$work/out" 2>"$work/err" || got=$?
    [ "$got" -eq "$wanted" ] || { echo "opcda $*: exit status $got instead of $wanted"; cat "$work/out" "$work/err"; exit 1; }
}

expect_status 0 read "$url" Signal.Ramp Signal.Sine Signal.Square Signal.Random Signal.Counter Signal.Clock Slow.Item
expect_status 0 read --max-age 1000 --locale de "$url" Constant.Double
expect_status 2 read "$url"
expect_status 2 read --max-age -1 "$url" Constant.Double
expect_status 2
expect_status 3 read opcda://localhost/No.Such.Server/{00000000-1111-2222-3333-444444444444} x
expect_status 3 read http://localhost/x y

# Only this machine's registry files can be asked for a name without a server list of its own.
[ -n "$runner" ] || expect_status 0 read opcda://localhost/Korvex.Simulation.1 Constant.Double

#!/bin/sh
# Uses the tool as a user would: reads an item of every kind and compares what is printed with
# expected.json (without the times), and watches items.
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

# expect_line LINE [COUNT]: the last command has printed that line, times put as TIME and counts as N.
expect_line() {
    tr -d '\r' <"$work/out" | sed -E 's/[0-9]{4}-[0-9-]+T[0-9:.]+Z/TIME/; s/(Counter +)[1-9][0-9]* */\1N  /' >"$work/lines"
    [ "$(grep -Fxc -- "$1" "$work/lines")" -ge "${2:-1}" ] || { echo "no line $1 in:"; cat "$work/lines"; exit 1; }
}
# expect_warning TEXT: the last command has said so on standard error.
expect_warning() {
    grep -Fq -- "$1" "$work/err" || { echo "no warning $1 in:"; cat "$work/err"; exit 1; }
}

expect_status 0 watch --rate 50 --count 3 "$url" Signal.Counter
expect_line 'TIME  connected'
expect_line 'TIME  Signal.Counter  N  OPC_QUALITY_GOOD' 3

expect_status 1 watch --json --duration 1 "$url" Constant.Int32Array Quality.Bad Error.Read No.Such.Item
expect_line '{"time":"TIME","state":"connected"}'
expect_line '{"time":"TIME","item":"Constant.Int32Array","value":[-2147483648,-320000,2147483647],"type":"Int32[]","quality":"OPC_QUALITY_GOOD","result":"S_OK","code":0}'
expect_line '{"time":"TIME","item":"Quality.Bad","value":42,"type":"Int32","quality":"OPC_QUALITY_BAD","result":"S_OK","code":0}'
expect_line '{"time":"TIME","item":"No.Such.Item","result":"OPC_E_UNKNOWNITEMID","code":-1073479673}'
expect_line '{"time":"TIME","state":"disconnected"}'

expect_status 1 watch "$url" Nor.This.One No.Such
expect_warning 'the server refused every item'
expect_line 'TIME  No.Such       refused, OPC_E_UNKNOWNITEMID: The item ID is not defined in the server address space or no longer exists in the server address space.'

expect_status 0 watch --rate 1 --deadband 100 --keep-alive 2000 --locale de --count 1 "$url" Constant.Double
expect_warning 'the server looks every 10 ms'
expect_line 'TIME  Constant.Double  -2.25                 OPC_QUALITY_GOOD'

# The level goes to the library, which traces one that is not its own default.
expect_status 2 read --authentication nonsense "$url" Constant.Double
(export KORVEX_OPC_AUTHENTICATION=nonsense && expect_status 2 read "$url" Constant.Double)
echo '<Configuration><Trace TraceLevel="5" TraceFileName="security.log"/></Configuration>' >"$work/security.config"
expect_level() {
    rm -f security*.log
    wanted=$1
    shift
    (export KORVEX_OPC_TRACE_CONFIG="$trace_config" && expect_status 0 "$@")
    grep -q "authentication level $wanted is asked for" security.log || { echo "opcda $*: not level $wanted"; exit 1; }
    rm -f security*.log
}
trace_config=$work/security.config
[ -z "$runner" ] || trace_config="Z:$trace_config"
expect_level 5 read "$url" Constant.Double
expect_level 6 read --authentication privacy "$url" Constant.Double
expect_level 1 read --authentication none "$url" Constant.Double
(export KORVEX_OPC_AUTHENTICATION=connect && expect_level 2 servers)

for bad in "--rate -1" "--deadband 101" "--count 0" "--duration 0" "--keep-alive 0"; do
    # shellcheck disable=SC2086 # an option and its value
    expect_status 2 watch $bad "$url" Constant.Double
done
expect_status 3 watch opcda://localhost/No.Such.Server/{00000000-1111-2222-3333-444444444444} x

expect_status 0 browse "$url" Analog.Level
expect_line 'Units  Analog.Level.Units'
expect_status 0 props "$url" Analog.Level
expect_status 1 props --id 102 "$url" Analog.Level Constant.Int32

# A server that is found can be used by what is printed of it.
expect_status 0 servers LocalHost
expect_status 0 servers
found=$(tr -d '\r' <"$work/out" | sed -n 's/^Korvex[.]Simulation[.]1 .*\(opcda:.*\)$/\1/p')
[ -n "$found" ] || { echo "the simulation server is not listed:"; cat "$work/out" "$work/err"; exit 1; }
expect_status 0 read "$found" Constant.Double
expect_status 0 watch --count 1 "$found" Constant.Double
expect_status 0 write "$found" Register.Int32=1
expect_status 0 browse --depth 1 "$found"
expect_status 0 props "$found" Constant.Double
expect_status 0 read opcda://localhost/Korvex.Simulation.1 Constant.Double

if [ -n "$runner" ]; then
    # A server list that the machine has already is left alone.
    class='HKLM\Software\Classes\CLSID\{13486D51-4821-11D2-A494-3CB306C10000}'
    "$runner" regsvr32 /s /u KorvexSimulation.dll
    "$runner" reg add "$class\LocalServer32" /ve /d 'C:\list.exe' /f >/dev/null
    "$runner" regsvr32 /s KorvexSimulation.dll
    "$runner" reg query "$class\InprocServer32" >"$work/out" 2>&1 && { echo "the list was replaced"; exit 1; }
    "$runner" reg delete "$class" /f >/dev/null
    "$runner" regsvr32 /s KorvexSimulation.dll
else
    # A registration that cannot be read costs itself only, and is told of in the trace.
    mkdir "$work/servers"
    echo 'ProgID=Broken.Server.1' >"$work/servers/broken.server"
    echo '<Configuration><Trace TraceLevel="1" TraceFileName="opcda.log"/></Configuration>' >"$work/trace.config"
    KORVEX_OPC_SERVERS="$work/servers:$bin/servers"
    KORVEX_OPC_TRACE_CONFIG="$work/trace.config"
    export KORVEX_OPC_SERVERS KORVEX_OPC_TRACE_CONFIG
    (cd "$work" && "$bin/opcda" servers) | grep -q Korvex.Simulation.1
    grep -rq 'skipped the registration .*broken.server' "$work" || { echo "nothing is told of broken.server"; exit 1; }

    # Nor is one whose module cannot be loaded silent about why.
    clsid='{00000000-5555-2222-3333-444444444444}'
    printf 'ProgID=Unloadable.1\nCLSID=%s\nModule=text.so\n' "$clsid" >"$work/servers/unloadable.server"
    echo 'no shared object' >"$work/servers/text.so"
    (cd "$work" && "$bin/opcda" read "opcda:///Unloadable.1/$clsid" x 2>/dev/null) && { echo "a text was loaded"; exit 1; }
    grep -rq 'cannot be loaded: .*text.so: ' "$work" || { echo "nothing is told of text.so"; exit 1; }
    chmod o+w "$work/servers/unloadable.server"
    (cd "$work" && "$bin/opcda" read "opcda:///Unloadable.1/$clsid" x 2>/dev/null) && { echo "all may say a server"; exit 1; }
    grep -rq 'CoCreateInstanceEx - skipped the registration .*unloadable.server: others' "$work" ||
        { echo "nothing is told of a registration for all to write"; exit 1; }
    (cd "$work" && "$bin/opcda" read opcda:///No.Such.1 x 2>/dev/null) && { echo "No.Such.1 is there"; exit 1; }
    grep -rq 'clsidFromProgId - skipped the registration .*broken.server' "$work" ||
        { echo "nothing is told of broken.server by its name"; exit 1; }
fi

#!/bin/sh
# The part of script/demo that runs on the isolated host: demo_host.sh BUILD_FOLDER EVIDENCE_FOLDER [PERCENT]
# PERCENT is what the watched process may use of the processors; less is for a machine that has much else to do.
set -u
[ -e /run/thsentinel-isolated-host ] || { echo "$0: only on an isolated host: script/host" >&2; exit 1; }

buildDir=$1
leftBehind=$2
allowed=${3:-10}
library=$(dirname "$0")
home=/usr/tarnv/tarnhaven
evidence=/var/evidence
logs=$home/logs/thsentinel
systemLog=/tmp/system.log
watched=tbrd
# The product's log ids of that process.
logIds="119 128"
# The longest that any one step may take, in seconds.
limit=60

heading() {
    printf '\n== %s\n' "$1"
}

fail() {
    echo "the demo failed: $1" >&2
    log 2>/dev/null | tail -n 20 >&2
    exit 1
}

# The diagnostic log, which is a file a day.
log() {
    cat "$logs"/root.*.log
}

# waitFor WHAT COMMAND...: tries the command until it succeeds.
waitFor() {
    what=$1
    shift
    tries=$((limit * 5))
    until "$@"; do
        tries=$((tries - 1))
        [ "$tries" -gt 0 ] || fail "waited $limit seconds for $what"
        sleep 0.2
    done
}

installProduct() {
    for component in daemon standalone; do
        cmake --install "$buildDir" --component "$component" >/dev/null || fail "the installation"
    done
    cp "$buildDir/standalone/busyloop" "$home/bin/$watched" || fail "the busy process is not built"
    mkdir "$evidence"
    cat >"$home/master.conf" <<STORE
# $watched may use at most $allowed percent of this machine's processors.
THHS_MONITOR_CPU = $watched:$allowed
THHS_EVIDENCE_PATH = $evidence
THHS_CAPTURE_PROCESS_DUMP = 1
THHS_INCREASE_LOG_LEVEL = 1
THHS_DUMP_COUNT = 1
# Quick, for a demo: a reading a second, two samples of each statistic.
THHS_POLL_INTERVAL = 1
THHS_READING_INTERVAL = 1
THHS_NUMBER_OF_READINGS = 2
_FORCE_READING_INTERVAL_ = 1
THHS_VERBOSE = 1
STORE
}

startSystemLog() {
    : >"$systemLog"
    "$library/syslog_catcher.py" "$systemLog" &
    waitFor "the system log" test -S /dev/log
}

# More than half of the processors, however many there are.
startBusyProcess() {
    "$home/bin/$watched" $(($(nproc) / 2 + 1)) $((limit * 5)) &
    busyPid=$!
}

showLevels() {
    for id in $logIds; do
        echo "\$ txlogcfg -p TH -o $id -l"
        "$home/bin/txlogcfg" -p TH -o "$id" -l
    done
}

levelsAre() {
    for id in $logIds; do
        "$home/bin/txlogcfg" -p TH -o "$id" -l | grep -q "^DebugLevel = $1\$" || return 1
    done
}

startDaemon() {
    echo '$ thsentinel -start'
    "$home/bin/thsentinel" -start || fail "the daemon did not start (status $?)"
    daemonPid=$(cat /usr/tarnv/tmp/*.RUN)
}

# The lines of the log that begin with these texts after their time. Only the beginning counts: the log also quotes
# the command lines of processes, this script's own among them.
logLines() {
    log | grep -e "^[-0-9]\{10\} [0-9:]\{12\} - \($1\)"
}

logSays() {
    logLines "$1" >/dev/null
}

captureEnded() {
    for text in 'TakeMemorySnapshotAndDump .* Dump has generated for pid' 'Memory Performance data collected' \
        'Network Performance data collected' 'Process specific data collected' \
        'CollectCommandData : command .*/iostat .* return the' \
        'CollectCommandData : command .*/mpstat .* return the'; do
        logSays "$text" || return 1
    done
}

showEvidence() {
    set -- "$evidence/thsentinel/$watched/$busyPid/Evidence1/${busyPid}"_*
    [ $# -eq 6 ] || fail "expected six files of evidence, found $#"
    (cd "$evidence" && find . -type f -printf '%10s bytes  %P\n' | sort -k 3)
    for file in "$@"; do
        case $file in
            *.MemoryPerf) memory=$file ;;
            *_CPU."$busyPid") core=$file ;;
        esac
    done
    heading "The beginning of the memory statistics"
    head -n 16 "$memory"
    heading "The core image, as a debugger sees it"
    gdb -q -batch -ex 'info threads' "$home/bin/$watched" "$core" 2>/dev/null | grep '^[* ] *[0-9]' | cut -c 1-110
    marker=$(grep -a -o -m 1 'Marker of the busy process' "$core") || fail "the core image is not of the busy process"
    echo "Found in its memory: \"$marker\""
}

verifyEvidence() {
    if [ ! -x "$buildDir/ctl/thsentinelctl" ]; then
        echo "thsentinelctl is not built: nothing is verified"
        return 0
    fi
    echo '$ thsentinelctl verify'
    "$buildDir/ctl/thsentinelctl" verify || fail "the evidence is not complete (status $?)"
}

# The companion is built where its packages are there.
makeReport() {
    if [ ! -x "$buildDir/ctl/thsentinelctl" ]; then
        echo "thsentinelctl is not built: no report"
        return 0
    fi
    echo "\$ thsentinelctl report --last -o ${leftBehind##*/}/report.html"
    "$buildDir/ctl/thsentinelctl" report --last -o "$leftBehind/report.html" || [ $? -eq 1 ] || fail "the report"
}

processIsGone() {
    ! kill -0 "$1" 2>/dev/null
}

stopDaemon() {
    echo '$ thsentinel -terminate'
    "$home/bin/thsentinel" -terminate || fail "the daemon could not be stopped (status $?)"
    waitFor "the end of the daemon" processIsGone "$daemonPid"
}

installProduct
# Where gdb brings a gstack, it may trace the process in the moment in which gcore wants to. The demo shows the core.
rm -f /usr/bin/gstack
startSystemLog
startBusyProcess
heading "The host: the daemon, a store and a busy $watched"
cat "$home/master.conf"
heading "The log levels of $watched before"
showLevels
heading "Starting"
startDaemon
heading "The breach, in the diagnostic log"
waitFor "the breach" logSays "CPU threshold exceeded by process : $watched"
logLines 'CPU threshold exceeded\|Taking Process Dump'
heading "The breach, in the system log"
waitFor "the system log's line" grep -q "CPU threshold exceeded" "$systemLog"
grep "threshold exceeded" "$systemLog"
heading "The evidence"
waitFor "the end of the captures" captureEnded
showEvidence
heading "The log levels while the service runs"
waitFor "the raised levels" levelsAre 6
showLevels
heading "Stopping"
stopDaemon
heading "The log levels after"
levelsAre 1 || fail "the log levels were not restored"
showLevels
kill "$busyPid"
cp -r --sparse=always "$evidence/." "$leftBehind/" || fail "the evidence could not be kept"
heading "The evidence, verified"
verifyEvidence
heading "The report"
makeReport
heading "Left for you"
echo "${leftBehind##*/}/             the evidence"
echo "${leftBehind##*/}/report.html  its report: open it in a browser"

#!/bin/sh
# The life of the packages on a host that has nothing but a minimal Debian: scenario.sh FOLDER
#
# FOLDER holds the packages of this version, and in higher/ those of a later one. Each step prints its name and then
# what it saw; the tests beside this file check that. The host is a throw-away one.
export DEBIAN_FRONTEND=noninteractive LC_ALL=C
folder=$(cd "$1" && pwd) || exit 1
logs=/usr/tarnv/tarnhaven/logs/thsentinel
evidence=/var/lib/thsentinel/evidence/thsentinel
control=/usr/lib/thsentinel/daemon-control

step() {
    echo "=== $1"
}

apt() {
    apt-get -q -y -o Dpkg::Use-Pty=0 "$@" 2>&1
    echo "status $?"
}

# Waits up to 60 seconds until a command succeeds.
await() {
    left=300
    until "$@" >/dev/null 2>&1; do
        left=$((left - 1))
        [ $left -gt 0 ] || return 1
        sleep 0.2
    done
}

# Whether a line of the log begins so after its time. Only the beginning counts: the log also quotes the command lines of
# processes, and so the very search for a text.
said() {
    grep -q "^[-0-9]\{10\} [0-9:]\{12\} - $1" "$logs"/*.log
}

files() {
    find "$evidence" "$logs" -mindepth 1 -printf '%m %u %s %P\n'
}

step install
rm -f /usr/sbin/policy-rc.d
apt update
apt install "$folder"/*.deb
dpkg-query -W -f '${Package} ${Version} ${db:Status-Status}\n' 'thsentinel*' gdb sysstat net-tools procps
/usr/sbin/thsentinel -version
stat -c '%a %U %n' /var/lib/thsentinel/evidence
$control holder || echo "holder $?"
[ -x /usr/sbin/thsentinel ] || exit 1

step start
cat >/usr/tarnv/tarnhaven/master.conf <<'TEXT'
THHS_MONITOR_MEMORY = exampled:0
THHS_POLL_INTERVAL = 1
_FORCE_READING_INTERVAL_ = 1
THHS_NUMBER_OF_READINGS = 1
THHS_READING_INTERVAL = 1
THHS_CAPTURE_PROCESS_DUMP = 1
THHS_DUMP_COUNT = 1
THHS_EVIDENCE_PATH = /var/lib/thsentinel/evidence
THHS_VERBOSE = 1
TEXT
# Where gdb brings a gstack, it may trace the process in the moment in which gcore wants to.
rm -f /usr/bin/gstack
cp /bin/sleep /opt/exampled
/opt/exampled 3600 &
umask 022
/etc/init.d/thsentinel start
echo "status $?"
/etc/init.d/thsentinel status
first=$($control holder)
echo "holder $?"

step breach
await said "TakeMemorySnapshotAndDump .* Dump has generated for pid"
echo "core $?"
for topic in Memory Network Disk; do
    await said "$topic Performance data collected successfully"
    echo "$topic $?"
done
await said "CollectCommandData : command .*mpstat 1 1 >> .* return the 0"
echo "mpstat $?"
files
gdb -nx -batch -ex 'info threads' /opt/exampled "$evidence"/exampled/*/Evidence1/*Memory.[0-9]* 2>/dev/null |
    grep -c 'Thread\|LWP\|process'

step upgrade
before=$(files | grep -v '_00001.log' | sort | md5sum)
cp /usr/tarnv/tarnhaven/master.conf /tmp/store
apt install "$folder"/higher/*.deb
dpkg-query -W -f '${Package} ${Version} ${db:Status-Status}\n' 'thsentinel*'
second=$($control holder)
echo "holder $?"
[ "$first" != "$second" ] && echo "restarted"
pgrep -c -x thsentinel
cmp /tmp/store /usr/tarnv/tarnhaven/master.conf && echo "store kept"
$control end 90 && [ "$before" = "$(files | grep -v '_00001.log' | sort | md5sum)" ] && echo "evidence kept"
/etc/init.d/thsentinel start >/dev/null

step remove
apt remove thsentinel
$control holder 2>/dev/null
pgrep -c -x thsentinel
[ -s /usr/tarnv/tarnhaven/master.conf ] && echo "store kept"

step purge
apt purge thsentinel thsentinel-standalone thsentinel-ctl
dpkg-query -W -f '${Package} ${db:Status-Status}\n' 'thsentinel*' 2>/dev/null | grep -v not-installed
echo "evidence $(files 2>/dev/null | grep -c _Memory)"
[ ! -e "$logs" ] && echo "logs gone"
find / -xdev -name '*thsentinel*' -not -path '/proc/*' -not -path '/usr/src/*' -not -path '/tmp/*' \
    -not -path '/var/lib/thsentinel*' -not -path '/var/lib/dpkg/*' -not -path '/var/cache/*' 2>/dev/null
step end

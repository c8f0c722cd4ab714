#!/bin/sh
# Records an evidence set with the tools of this system, section by section as the daemon writes it, of a small
# process with three threads that forgets to close its sockets.
# usage, as root:  unshare --mount --uts --pid --net --fork --mount-proc sh record.sh FOLDER
# or, with another Debian below TREE:  the same with  sh record.sh FOLDER TREE
set -eu
folder=$1
tree=${2:-/}
readings=2
stamp=$(date +%d-%m_%H.%M.%S)
hostname recorder
[ "$tree" = / ] || { mount --bind "$tree" "$tree"; mount -t proc proc "$tree/proc"; mount --bind /sys "$tree/sys"; }
mount -t tmpfs -o mode=1777 tmp "$tree/tmp"

inside() { env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LANG=C chroot "$tree" /bin/sh -c "$1"; }

section() { # FILE COMMAND
    rule=----------------------------------------------------------------------------------
    printf '\n\n%s\nCommand: %s\n%s\n' "$rule" "$2" "$rule" >>"$1"
    inside "$2" >>"$1" 2>/dev/null || true
}

/usr/sbin/ip link set lo up
# shellcheck disable=SC2016 # the shell below the tree expands it
inside 'cp "$(readlink -f /usr/bin/python3)" /tmp/tbrd'
cat >"$tree/tmp/target.py" <<'TARGET'
import socket, threading, time
server = socket.create_server(("127.0.0.1", 8443))
clients = []
for _ in range(4):
    clients.append(socket.create_connection(("127.0.0.1", 8443)))
    server.accept()[0].close()
for number in range(2):
    threading.Thread(target=time.sleep, args=(600,), name=f"worker-{number}", daemon=True).start()
open("/tmp/ready", "w").close()
time.sleep(600)
TARGET
inside 'exec /tmp/tbrd /tmp/target.py' &
for _ in $(seq 100); do [ -e "$tree/tmp/ready" ] || sleep 0.1; done
[ -e "$tree/tmp/ready" ]
pid=$(inside 'pgrep -x tbrd')
set="$folder/thsentinel/tbrd/$pid/Evidence1"
mkdir -p "$set"
begin=$set/${pid}_${stamp}_CPU
section "$begin.DiskPerf_iostat" "/usr/bin/iostat -xt 1 $readings" &
section "$begin.DiskPerf_mpstat" "/usr/bin/mpstat 1 $readings" &
for _ in $(seq $readings); do
    for command in "top -b -n 1" "ps faxeo pid,pmem,rss,vsz,sz,size,args --width 120" "free " "vmstat " "cat /proc/meminfo"; do
        section "$begin.MemoryPerf" "/usr/bin/$command"
    done
    sleep 1
done
for arguments in "-p --tcp | grep CLOSE_WAIT" "-na | grep CLOSE_WAIT" -e -s -nalp "-op | /usr/bin/grep $pid" \
    "-nop | /usr/bin/grep $pid" "-anop | /usr/bin/grep $pid" "-tanoxp | /usr/bin/grep $pid"; do
    section "$begin.Netstat" "/usr/bin/netstat $arguments"
done
for command in "cat /proc/$pid/smaps" "cat /proc/$pid/status" "gstack $pid" "pmap $pid"; do
    section "$begin.ProcessData" "/usr/bin/$command"
done
sleep 2
kill "$pid"

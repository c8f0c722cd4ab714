#!/bin/sh
# The inside of script/host: makes the isolated host within the new namespaces, as their process 1, and runs the
# command there.
# usage: host_inside.sh SHARES SETUP CWD COMMAND [ARG...]
#   SHARES  the folders that the host shares with the machine, one a line
#   SETUP   a script to run before the command, or nothing
#   CWD     the folder that the command starts in

marker=/run/thsentinel-isolated-host
newline='
'

cant() {
    echo "script/host: an isolated host can't be made here: $*" >&2
    exit 77
}

# Runs one step of the making; its own words become the reason when it fails.
must() {
    said=$("$@" 2>&1) || cant "$* failed: $said"
}

# True when $1 is one of the folders in the list $2 (one a line), or lies below one.
below_one_of() {
    rest=$2
    while [ -n "$rest" ]; do
        folder=${rest%%"$newline"*}
        rest=${rest#*"$newline"}
        case $1/ in "$folder"/*) return 0 ;; esac
    done
    return 1
}

# A mount point for the memory that the host is built in: one that hides nothing that is still to be shown.
choose_base() {
    for base in /mnt /media /srv /opt /var/tmp /run /tmp; do
        [ -d $base ] || continue
        case "$newline$shares$points" in *"$newline$base/"* | *"$newline$base$newline"*) continue ;; esac
        return 0
    done
    cant "no free mount point"
}

# Lays a writable overlay over the folder $1 of this machine, at the same path of the host.
layer() {
    mkdir -p "$base/layers$1/+upper" "$base/layers$1/+work"
    options="lowerdir=$1,upperdir=$base/layers$1/+upper,workdir=$base/layers$1/+work"
    mount -n -t overlay -o "$options$xattr" host "$root${1%/}"
}

show_readonly() {
    mount -n --rbind "$1" "$root$1" 2>/dev/null && mount -n -o remount,bind,ro "$root$1" 2>/dev/null
}

# The host of a real superuser: one overlay over the whole root. Other filesystems of the machine aren't part
# of that lower layer, each gets a layer of its own. What is mounted on a file, or refuses to be a lower
# layer, is shown as it is, to be read only.
layer_everything() {
    must layer /
    rest=$points
    while [ -n "$rest" ]; do
        point=${rest%%"$newline"*}
        rest=${rest#*"$newline"}
        [ "$point" = / ] && continue
        (below_one_of "$point" "$skipped") && continue
        [ -d "$point" ] && layer "$point" 2>/dev/null && continue
        show_readonly "$point"
    done
}

# The host of a superuser by name. Here a folder with other mounts below it can't be a lower layer, so it is
# made anew, its files copied and its folders mirrored one by one.
mirror() {
    (below_one_of "$1" "$skipped$base$newline/usr/tarnv$newline") && mkdir -p "$root$1" && return
    mkdir -p "$root$1"
    [ -r "$1" ] && [ -x "$1" ] || return
    case "$newline$points" in
        *"$newline${1%/}/"*) ;;
        *) layer "$1" 2>/dev/null || show_readonly "$1" && return ;;
    esac
    find "$1" -maxdepth 1 ! -type d -exec cp -dp -t "$root$1" -- {} + 2>/dev/null
    for entry in "${1%/}"/* "${1%/}"/.[!.]*; do
        [ -d "$entry" ] && [ ! -L "$entry" ] && mirror "$entry"
    done
}

# Such a superuser may not copy other people's folders up, so the folders whose entries tests replace get a
# layer each: the topmost folder of a layer is always its own.
layer_what_others_own() {
    for folder in /etc /opt /usr /usr/bin /usr/sbin /usr/local /usr/local/bin /var /var/log; do
        if [ ! -d $folder ] || [ -L $folder ] || [ -O $root$folder ]; then continue; fi
        layer $folder 2>/dev/null || cant "no overlay over $folder"
    done
}

make_devices() {
    must mount -n -t tmpfs -o mode=755 dev "$root/dev"
    for node in null zero full random urandom tty; do
        : >"$root/dev/$node"
        must mount -n --bind "/dev/$node" "$root/dev/$node"
    done
    mkdir "$root/dev/pts" "$root/dev/shm"
    chmod 1777 "$root/dev/shm"
    must mount -n -t devpts -o newinstance,ptmxmode=0666,mode=620 devpts "$root/dev/pts"
    ln -s pts/ptmx "$root/dev/ptmx"
    ln -s /proc/self/fd "$root/dev/fd"
    for stream in 0:stdin 1:stdout 2:stderr; do
        ln -s "/proc/self/fd/${stream%:*}" "$root/dev/${stream#*:}"
    done
}

# A new sysfs needs the rights over the network namespace too; without them the machine's own is shown, which
# such a caller can't write anyway.
make_sys() {
    mount -n -t sysfs -o ro sys "$root/sys" 2>/dev/null || must mount -n --rbind /sys "$root/sys"
}

share() {
    rest=$shares
    while [ -n "$rest" ]; do
        folder=${rest%%"$newline"*}
        rest=${rest#*"$newline"}
        mkdir -p "$root$folder" || cant "no place for $folder"
        must mount -n --rbind "$folder" "$root$folder"
    done
}

# A product that the machine itself has is hidden: taken away where the overlay lets us, else covered.
clean_product_folder() {
    rm -rf $root/usr/tarnv 2>/dev/null && mkdir -m 755 $root/usr/tarnv && return
    must mount -n -t tmpfs -o mode=755 tarnv $root/usr/tarnv
}

# The mount points of this machine, one a line.
list_points() {
    while read -r _ _ _ _ point _; do
        case $point in *\\*) point=$(printf '%b' "$point") ;; esac
        echo "$point"
    done </proc/self/mountinfo
}

make_host() {
    points=$(list_points)$newline
    skipped="/proc$newline/sys$newline/dev$newline/run$newline/tmp$newline$shares"
    choose_base
    must mount -n -t tmpfs -o mode=755 host $base
    root=$base/root
    mkdir $root

    read -r first _ length </proc/self/uid_map
    if [ "$first $length" = "0 4294967295" ]; then
        xattr=
        layer_everything
    else
        xattr=,userxattr
        must mount -n --bind $root $root
        mirror /
        layer_what_others_own
    fi

    for folder in proc sys dev run tmp; do
        [ -d $root/$folder ] || mkdir $root/$folder || cant "no place for /$folder"
    done
    must mount -n -t proc proc $root/proc
    make_sys
    make_devices
    must mount -n -t tmpfs -o mode=755 run $root/run
    must mount -n -t tmpfs -o mode=1777 tmp $root/tmp
    share

    clean_product_folder
    rm -f $root/etc/redhat-release $root/etc/oracle-release $root/etc/SuSE-release ||
        cant "a release file can't be hidden"
    : >$root$marker

    cd $root || cant "the new root can't be entered"
    must pivot_root . .
    must umount -n -l .
    cd /
    hostname thsentinel-test 2>/dev/null
}

# Stays as process 1, which takes over and reaps what is orphaned on the host. The command runs below one more
# shell: a program may look at its parent and refuse to run as a child of process 1.
main() {
    shares=$1 setup=$2 cwd=$3
    shift 3
    if [ -n "$setup" ]; then
        steps=$(cat "$setup") || exit 125 # read here, for it may lie in a folder that the host hides
    fi
    make_host
    cd "$cwd" 2>/dev/null || cd /
    if [ -n "$setup" ]; then
        sh -c "$steps" "$setup" || {
            echo "script/host: $setup failed with status $?" >&2
            exit 125
        }
    fi
    # shellcheck disable=SC2016
    sh -c '"$@"; exit $?' sh "$@"
    exit $?
}

main "$@"

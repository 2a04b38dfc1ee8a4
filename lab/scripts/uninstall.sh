#!/bin/sh
# Removes the adapter tool and its configuration. The tool's folder stays.
payload=$(dirname "$0")/payload
. /var/lib/qdmlab/record.sh
. "$payload/settings"
folder=/usr/sbin/ocmanager

fail() {
    echo "Removal failed: $1"
    exit 1
}

stop_daemon() {
    pid=$(cat /run/discoveryd.pid 2>/dev/null) || return 0
    ! grep -qs "$folder/discoveryd" "/proc/$pid/cmdline" || kill "$pid"
    rm -f /run/discoveryd.pid "$folder/discoveryd"
}

half() {
    rm -f "$folder/hbacmd"
}

work() {
    [ "$fail_uninstall" = no ] || fail "a module that never removes anything"
    echo "Removing One Command Manager"
    stop_daemon
    rm -f "$folder/hbacmd" "$folder/version" /etc/emulexDiscConfig /etc/emulexRMConfig ||
        fail "files stay behind"
    echo "Removal complete"
}

verb=uninstall.sh success="Removal complete" wrong="Removal failed: files stay behind"
. /var/lib/qdmlab/faults.sh

#!/bin/sh
# Installs the adapter tool and its configuration. -q: without asking.
payload=$(dirname "$0")/payload
. /var/lib/qdmlab/record.sh
. "$payload/settings"
folder=/usr/sbin/ocmanager

fail() {
    echo "Installation failed: $1"
    exit 1
}

# Fails as often as the module was made to, counted for its version.
fail_at_first() {
    count=/var/lib/qdmlab/failed_installs.$version
    failed=$(cat "$count" 2>/dev/null || echo 0)
    [ "$failed" -lt "$fail_install" ] || return 0
    echo $((failed + 1)) >"$count"
    fail "attempt $((failed + 1)) of a module that fails $fail_install times"
}

start_daemon() {
    ln -sf /usr/bin/sleep "$folder/discoveryd"
    setsid "$folder/discoveryd" 86400 &
    echo $! >/run/discoveryd.pid
}

ask() {
    printf 'Install One Command Manager %s? [y/n] ' "$version"
    read -r answer
    [ "$answer" = y ] || fail "not wanted"
}

half() {
    mkdir -p "$folder" && install -m 755 "$payload/hbacmd" "$folder/hbacmd"
}

work() {
    [ "$1" = -q ] || ask
    fail_at_first
    echo "Installing One Command Manager $version"
    half || fail "no tool"
    echo "version $version" >"$folder/version" || fail "no version"
    for name in emulexDiscConfig emulexRMConfig; do
        install -m 644 "$payload/$name" "/etc/$name" || fail "no configuration"
    done
    [ "$daemon" = no ] || start_daemon
    echo "Installation complete"
}

verb=install.sh success="Installation complete" wrong="Installation failed: no tool"
. /var/lib/qdmlab/faults.sh

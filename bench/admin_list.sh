#!/bin/sh
# What an administrator would write in place of "qdmctl list": every port with its versions, as a
# table, from the adapter tool's own answers.
hbacmd=/usr/sbin/ocmanager/hbacmd
work=$(mktemp -d) || exit 1
trap 'rm -rf "$work"' EXIT

"$hbacmd" listhbas > "$work/list" || exit 1
utility=$("$hbacmd" version | sed -n 's/.*Version: \([0-9.]*\).*/\1/p')

value() {
    grep "^$1 *:" "$work/attributes" | sed 's/^[^:]*: *//; s/[; ].*//'
}

printf '%-24s %-14s %-14s %-14s %-14s %s\n' WWPN MODEL FIRMWARE BOOT-BIOS DRIVER UTILITY
awk '/^Port WWN/ { print $4 }' "$work/list" | while read -r wwpn; do
    "$hbacmd" HbaAttributes "$wwpn" > "$work/attributes" || exit 1
    printf '%-24s %-14s %-14s %-14s %-14s %s\n' "$wwpn" "$(value Model)" "$(value 'FW Version')" \
        "$(value 'Boot Version')" "$(value 'Driver Version')" "$utility"
done

# Sourced at the end of a script. Does its work between the faults that strike this call:
#   verb            under which faults are switched on
#   work, half      functions: all that is done, and what a call that is cut short has done
#   success, wrong  what is told of a success, and well-formed text that is not true
faults=/var/lib/qdmlab/faults

# Prints the faults that strike, each "kind=value", and counts them down.
count_down() {
    kept=
    while read -r of kind value left; do
        if [ "$of" = "$verb" ] && [ "$left" != 0 ]; then
            echo "$kind=$value"
            [ "$left" -lt 0 ] || left=$((left - 1))
        fi
        kept="$kept$of $kind $value $left
"
    done <"$faults"
    printf %s "$kept" >"$faults.new.$$" && mv "$faults.new.$$" "$faults"
}

# The value of a fault that strikes, "-" for one without; fails where it does not strike.
fault() {
    printf '%s\n' "$striking" | sed -n "s/^$1=//p" | grep -m 1 .
}

strikes() {
    fault "$1" >/dev/null
}

hang() {
    while :; do sleep 3600; done
}

# Fast enough to fill a disk that nobody watches, slow enough to leave the processor to others.
print_forever() {
    filler=$(head -c 65535 /dev/zero | tr '\0' .)
    while printf '%s\n' "$filler"; do sleep 0.01; done
    hang
}

# What the work has printed, spoilt as the faults want it.
spoil() {
    size=$(stat -c %s "$1")
    cut=$(fault truncate || echo "$size")
    [ "$cut" != - ] || cut=$((size / 2))
    if strikes empty; then
        size=0
    elif strikes garbage; then
        head -c "$((size + 100))" /bin/sh
    elif strikes no-line-ends; then
        tr -d '\n' <"$1"
    elif strikes wrong; then
        echo "$wrong"
    else
        head -c "$cut" "$1"
    fi
}

work_faulty() {
    ! late=$(fault delay) || sleep "$((late / 1000)).$(printf %03d $((late % 1000)))"
    if strikes error || strikes error64; then
        echo "$wrong"
        return 1
    fi
    if strikes crash || strikes hang; then
        half "$@"
        ! strikes crash || kill -KILL $$
        hang
    fi
    held=$(mktemp)
    if strikes no-effect; then
        echo "$success" >"$held"
        status=0
    else
        (work "$@") >"$held" 2>&1
        status=$?
    fi
    spoil "$held"
    rm -f "$held"
    ! strikes endless || print_forever
    if strikes effect-then-fail; then
        echo "$wrong"
        status=1
    fi
    ! left=$(fault exit) || status=${left#-}
    return "${status:-1}"
}

striking=
[ ! -e "$faults" ] || striking=$({ flock 9 && count_down; } 9>"$faults.lock")
if [ -n "$striking" ]; then
    work_faulty "$@"
else
    work "$@"
fi
exit $?

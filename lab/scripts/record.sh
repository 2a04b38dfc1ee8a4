# Sourced by a script: records its call as the adapter tool records its own.
calls=/var/lib/qdmlab/calls

record() {
    { printf '%s\n' "$1" >>"$calls"; } 2>/dev/null
}

list=
for argument; do
    quoted=$(printf %s "$argument" | sed 's/[\\"]/\\&/g')
    list="$list${list:+, }\"$quoted\""
done
record "{\"begin\": $(date +%s.%6N), \"pid\": $$, \"verb\": \"${0##*/}\", \"arguments\": [$list]}"
trap 'status=$?; record "{\"end\": $(date +%s.%6N), \"pid\": $$, \"exit\": $status}"' EXIT

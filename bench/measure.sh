# Sourced by the benchmarks. measure LOG COMMAND...: runs COMMAND under /usr/bin/time and
# prints "seconds peak_kib".
measure() {
    local log=$1
    shift
    /usr/bin/time -v "$@" >/dev/null 2>"$log" || { cat "$log" >&2; return 1; }
    local wall rss
    wall=$(awk -F': ' '/Elapsed \(wall clock\)/ {print $2}' "$log" |
        awk -F: '{ if (NF == 3) print $1*3600 + $2*60 + $3; else print $1*60 + $2 }')
    rss=$(awk -F': ' '/Maximum resident set size/ {print $2}' "$log")
    echo "$wall $rss"
}

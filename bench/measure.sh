# Sourced by the benchmarks.
#   measure LOG COMMAND...          runs COMMAND once under /usr/bin/time: "seconds peak_kib",
#                                   the seconds from the shell's microsecond clock (time's own
#                                   are in hundredths, 5% of a 0.2 s run)
#   compare RUNS LOG -- OURS... -- PEER...
#                                   runs both commands RUNS times, alternating, and prints
#                                   "ours_s peer_s ours_kib peer_kib": median wall times and
#                                   the largest peak resident set sizes
measure() {
    local log=$1
    shift
    local start=$EPOCHREALTIME
    /usr/bin/time -v "$@" >/dev/null 2>"$log" || { cat "$log" >&2; return 1; }
    local wall rss
    wall=$(awk -v a="$start" -v b="$EPOCHREALTIME" 'BEGIN { printf "%.4f", b - a }')
    rss=$(awk -F': ' '/Maximum resident set size/ {print $2}' "$log")
    echo "$wall $rss"
}

compare() {
    local runs=$1 log=$2
    shift 3
    local ours=() peer=()
    while [ "$1" != -- ]; do ours+=("$1"); shift; done
    shift
    peer=("$@")
    local i s k ours_s=() peer_s=() ours_k=0 peer_k=0
    for ((i = 0; i < runs; i++)); do
        read -r s k < <(measure "$log" "${ours[@]}")
        ours_s+=("$s"); ((k > ours_k)) && ours_k=$k
        read -r s k < <(measure "$log" "${peer[@]}")
        peer_s+=("$s"); ((k > peer_k)) && peer_k=$k
    done
    median() { printf '%s\n' "$@" | sort -g | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }'; }
    echo "$(median "${ours_s[@]}") $(median "${peer_s[@]}") $ours_k $peer_k"
}

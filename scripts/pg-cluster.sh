#!/usr/bin/env bash
# A throwaway PostgreSQL server for the tests: its own cluster in DIR, listening only on a Unix
# socket in DIR (no TCP port), trusted local connections for the role "folivo".
#
#   scripts/pg-cluster.sh start DIR   # initdb into DIR/data and start the server; prints DIR
#   scripts/pg-cluster.sh stop DIR    # stop it (immediately) and remove DIR
#
# Clients connect with host=DIR user=folivo (FOLIVO_TEST_PGHOST=DIR for the test programs).
# PostgreSQL refuses to run as root, so under root the server runs as the "postgres" user that
# Debian's package creates.
set -euo pipefail
cmd="${1:-}"
dir="${2:-}"
if [ -z "$cmd" ] || [ -z "$dir" ]; then
    echo "usage: $0 start|stop DIR" >&2
    exit 2
fi

bindir=""
for d in /usr/lib/postgresql/*/bin; do
    [ -x "$d/initdb" ] && bindir="$d"
done
if [ -z "$bindir" ]; then
    echo "$0: no PostgreSQL server installed (Debian's postgresql-15)" >&2
    exit 2
fi

as_server() {
    if [ "$(id -u)" -eq 0 ]; then
        runuser -u postgres -- "$@"
    else
        "$@"
    fi
}

case "$cmd" in
start)
    mkdir -p "$dir"
    [ "$(id -u)" -eq 0 ] && chown postgres: "$dir"
    as_server "$bindir/initdb" --pgdata="$dir/data" --username=folivo --auth=trust \
        --encoding=UTF8 --locale=C.UTF-8 --no-sync >"$dir/initdb.log" 2>&1 || {
        cat "$dir/initdb.log" >&2
        exit 1
    }
    # fsync off: the cluster is thrown away, and the tests measure nothing about durability.
    as_server "$bindir/pg_ctl" --pgdata="$dir/data" --log="$dir/server.log" --wait \
        --options="-c listen_addresses='' -c unix_socket_directories='$dir' -c fsync=off \
                   -c max_connections=60 -c max_locks_per_transaction=128" \
        start >/dev/null || {
        cat "$dir/server.log" >&2
        exit 1
    }
    echo "$dir"
    ;;
stop)
    if [ -f "$dir/data/postmaster.pid" ]; then
        as_server "$bindir/pg_ctl" --pgdata="$dir/data" --mode=immediate --wait stop >/dev/null 2>&1 || true
    fi
    rm -rf "$dir"
    ;;
*)
    echo "usage: $0 start|stop DIR" >&2
    exit 2
    ;;
esac

#!/bin/bash
# The rules of the official image: an empty data directory is initialised by a temporary server that listens on its
# socket only and makes the database and the accounts that the environment names; then the command runs.
set -euo pipefail

data=/var/lib/mysql
socket=/run/mysqld/mysqld.sock

note() { echo "[Note] [Entrypoint]: $*" >&2; }

initialise() {
    note "Initializing database files"
    mysqld --initialize-insecure --datadir="$data"

    note "Starting temporary server"
    mysqld --skip-networking --socket="$socket" &
    local server=$!
    mysqladmin --socket="$socket" --user=root --wait=120 --silent ping >/dev/null

    mysql --socket="$socket" --user=root <<SQL
CREATE USER 'root'@'%' IDENTIFIED BY '${MYSQL_ROOT_PASSWORD}';
GRANT ALL ON *.* TO 'root'@'%' WITH GRANT OPTION;
CREATE DATABASE IF NOT EXISTS \`${MYSQL_DATABASE}\`;
CREATE USER '${MYSQL_USER}'@'%' IDENTIFIED BY '${MYSQL_PASSWORD}';
GRANT ALL ON \`${MYSQL_DATABASE}\`.* TO '${MYSQL_USER}'@'%';
ALTER USER 'root'@'localhost' IDENTIFIED BY '${MYSQL_ROOT_PASSWORD}';
SQL

    note "Stopping temporary server"
    kill "$server"
    wait "$server" || true
    note "MySQL init process done. Ready for start up."
}

if [ "${1-}" = mysqld ]; then
    : "${MYSQL_ROOT_PASSWORD:?}" "${MYSQL_DATABASE:?}" "${MYSQL_USER:?}" "${MYSQL_PASSWORD:?}"
    chown mysql:mysql "$data" /run/mysqld
    [ -d "$data/mysql" ] || initialise
fi
exec "$@"

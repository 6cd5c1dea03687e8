#!/bin/bash
# The rules of the official image. Only for a first argument that begins with "apache2" or is "php-fpm": an empty web root
# is filled with WordPress, and wp-config.php is written where it is missing and the environment holds WORDPRESS_...
# variables. What the image puts there belongs to the user that the server runs as. Any other command finds the web
# root as it is.
set -Eeuo pipefail

server_user() { # COMMAND: sets user and group, as names or numbers
    user=www-data group=www-data
    if [ "$(id -u)" != 0 ]; then
        user=$(id -u) group=$(id -g)
    elif [[ $1 == apache2* ]]; then
        # Apache also takes "#1000" for a user.
        user=${APACHE_RUN_USER:-www-data} group=${APACHE_RUN_GROUP:-www-data}
        user=${user#'#'} group=${group#'#'}
    fi
}

fill_web_root() {
    if [ "$(id -u)" = 0 ] && [ "$(stat -c %u:%g .)" = 0:0 ]; then
        chown "$user:$group" .
    fi
    echo "WordPress not found in $PWD - copying now..." >&2

    # Themes and plugins that are there already are never replaced.
    local pack=(--owner "$user" --group "$group") unpack=() path
    for path in /usr/src/wordpress/.htaccess /usr/src/wordpress/wp-content/*/*/; do
        path=${path#/usr/src/wordpress/} path=${path%/}
        if [ -e "$path" ]; then
            echo "WARNING: '$PWD/$path' exists! (not copying the WordPress version)" >&2
            pack+=(--exclude "./$path")
        fi
    done
    [ "$(id -u)" = 0 ] || unpack=(--no-overwrite-dir)
    tar -C /usr/src/wordpress "${pack[@]}" -cf - . | tar "${unpack[@]}" -xf -
    echo "Complete! WordPress has been successfully copied to $PWD" >&2
}

write_config() {
    echo "No 'wp-config.php' found in $PWD, but 'WORDPRESS_...' variables supplied; copying wp-config-docker.php" >&2
    local line
    while IFS= read -r line; do
        printf '%s\n' "${line/put your unique phrase here/$(head -c 24 /dev/urandom | sha1sum | cut -c1-40)}"
    done < /usr/src/wordpress/wp-config-docker.php > wp-config.php
    [ "$(id -u)" != 0 ] || chown "$user:$group" wp-config.php || true
}

if [[ ${1-} == apache2* || ${1-} == php-fpm ]]; then
    server_user "$1"
    [ -e index.php ] || [ -e wp-includes/version.php ] || fill_web_root
    variables=("${!WORDPRESS_@}")
    if [ ! -s wp-config.php ] && [ ${#variables[@]} -gt 0 ]; then write_config; fi
fi
exec "$@"

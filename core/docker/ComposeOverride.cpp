#include "core/docker/ComposeOverride.h"

#include "core/base/AtomicFile.h"
#include "core/base/File.h"

#include <string_view>
#include <unistd.h>

namespace harbor {

namespace {

constexpr std::string_view firstLine = "# Written by Tallowick Harbor, and written again at each start. "
                                       "Delete this line to keep changes of your own.\n";

// clang-format off
constexpr std::string_view apacheEntrypoint = R"text(services:
  wordpress:
    # The shell of the command deafens Apache to the signal to stop, for ten seconds at each stop of the site: a real
    # init process ends the shell at once.
    init: true
    stop_signal: SIGTERM
    # The image fills the web root only when its command begins with "apache2", which the one of
    # docker-compose.yml does not.
    entrypoint:
      - bash
      - -ec
      - |
)text";

constexpr std::string_view apacheStart = R"text(        "$$0" apache2 -v
        exec "$$0" "$$@"
      - docker-entrypoint.sh
)text";

constexpr std::string_view nginxEntrypoint = R"text(services:
  php:
    entrypoint:
      - bash
      - -ec
      - |
)text";

constexpr std::string_view nginxStart = R"text(        # WP-CLI is started as root and goes on as www-data before it loads WordPress.
        cat > /usr/local/lib/harbor-wp-cli.php <<'PHP'
        <?php (function ($$www) {
            posix_getuid() !== 0 || posix_initgroups('www-data', $$www['gid']) && posix_setgid($$www['gid']) && posix_setuid($$www['uid']) || exit(1);
        })(posix_getpwnam('www-data'));
        PHP
        exec "$$0" "$$@"
      - docker-entrypoint.sh
    # An entrypoint of our own drops the image's command.
    command: ["php-fpm"]
    environment:
      WP_CLI_EARLY_REQUIRE: /usr/local/lib/harbor-wp-cli.php
      WP_CLI_CACHE_DIR: /tmp/wp-cli-cache
)text";

// The lines of either entrypoint. The uid of the user is read from a folder that the program made, so that no
// number stands in the file. `usermod -u` would chown the whole web root on its way, and Apache's children die
// under a uid without a passwd entry.
constexpr std::string_view takeUsersNumbers = R"text(        # The site's files belong to whoever created the site: www-data takes that user's numbers.
        owned=/var/www/html/wp-content/mu-plugins
        uid=$$(stat -c %u "$$owned" || echo 0)
        gid=$$(stat -c %g "$$owned" || echo 0)
        if [ "$$gid" != 0 ]; then
          sed -i -E "s/^(www-data:[^:]*):[0-9]+:/\1:$$gid:/" /etc/group
          sed -i -E "s/^(www-data:[^:]*:[0-9]+):[0-9]+:/\1:$$gid:/" /etc/passwd
        fi
        if [ "$$uid" != 0 ]; then
          sed -i -E "s/^(www-data:[^:]*):[0-9]+:/\1:$$uid:/" /etc/passwd
        fi
)text";

constexpr std::string_view mysqlService = R"text(
  mysql:
    # Dumps are loaded as they are: no line end is changed and no client command is obeyed.
    volumes:
      - ./mysql-client.cnf:/etc/mysql/conf.d/harbor-client.cnf:ro
)text";

constexpr std::string_view clientConfig = R"text([mysql]
binary-mode
)text";
// clang-format on

bool isOurs(std::string const& path)
{
    if (!fileExists(path))
        return true;
    return readWholeFile(path).starts_with(firstLine);
}

}  // namespace

std::string ComposeOverride::overrideText(WebServer webServer)
{
    auto const isNginx = webServer == WebServer::nginx;
    std::string text(firstLine);
    text += isNginx ? nginxEntrypoint : apacheEntrypoint;
    text += takeUsersNumbers;
    text += isNginx ? nginxStart : apacheStart;
    text += mysqlService;
    return text;
}

std::string ComposeOverride::mysqlClientConfig()
{
    std::string text(firstLine);
    text += clientConfig;
    return text;
}

void ComposeOverride::write(std::string const& siteFolder, WebServer webServer)
{
    auto const overrideFile = siteFolder + "/docker-compose.override.yml";
    auto const clientFile = siteFolder + "/mysql-client.cnf";
    // The mounted file comes first: Docker makes an empty folder of a name that is missing.
    ::rmdir(clientFile.c_str());
    if (isOurs(clientFile))
        writeAtomically(clientFile, mysqlClientConfig(), 0644);
    if (isOurs(overrideFile))
        writeAtomically(overrideFile, overrideText(webServer), 0644);
}

}  // namespace harbor

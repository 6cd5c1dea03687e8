#pragma once

/// The addresses outside of this machine that the program names or opens: values of a deployment.
namespace harbor::hosts {

/// Host of the container vendor's website, as shown in messages.
inline constexpr auto dockerSite = "docker.com";
/// The page on which the container vendor offers its desktop program.
inline constexpr auto dockerDownloadPage = "https://www.docker.com/products/docker-desktop/";
/// The WP-CLI archive that is put into a container on first use.
inline constexpr auto wpCliPhar = "https://raw.githubusercontent.com/wp-cli/builds/gh-pages/phar/wp-cli.phar";
/// The archive of the remote plugin.
inline constexpr auto pluginDownloadPage
    = "https://tallowick.example/wp-content/downloads/tallowick-harbor-sync.zip";
/// The maker of this program.
inline constexpr auto makerSite = "https://tallowick.example";

}  // namespace harbor::hosts

#include "core/docker/SiteLifecycle.h"

#include "core/base/AtomicFile.h"
#include "core/base/File.h"
#include "core/base/WorkerPool.h"
#include "core/docker/ComposeOverride.h"
#include "core/docker/ComposeTemplateBuilder.h"
#include "core/docker/FlexibleSSLPlugin.h"
#include "core/site/PortAllocator.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <sys/stat.h>

namespace harbor {

SiteLifecycleError::SiteLifecycleError(Case kind, std::string description)
    : kind_(kind)
    , description_(std::move(description))
{
}

SiteLifecycleError SiteLifecycleError::directoryCreationFailed(std::string const& path)
{
    return { Case::directoryCreationFailed, "Failed to create site directory: " + path };
}

SiteLifecycleError SiteLifecycleError::siteAlreadyExists(std::string const& name)
{
    return { Case::siteAlreadyExists, "A site named '" + name + "' already exists." };
}

SiteLifecycleError SiteLifecycleError::siteNotFound() { return { Case::siteNotFound, "Site not found." }; }

SiteLifecycleError SiteLifecycleError::portsUnavailable()
{
    return { Case::portsUnavailable, "No available ports. Try stopping some sites." };
}

namespace {

/// The last step makes the folder or fails, so that of two programs that create one site only one goes on.
void createSiteDirectory(Site const& site)
{
    auto const folder = site.siteDirectory();
    try {
        createDirectories(folder.substr(0, folder.rfind('/')));
    } catch (FileError const&) {
        throw SiteLifecycleError::directoryCreationFailed(folder);
    }
    if (::mkdir(folder.c_str(), 0755) != 0) {
        if (errno == EEXIST)
            throw SiteLifecycleError::siteAlreadyExists(site.name);
        throw SiteLifecycleError::directoryCreationFailed(folder);
    }
    ::chmod(folder.c_str(), 0755);  // Whatever the umask; a folder that we have just made is ours.
}

void writeComposeFiles(Site const& site)
{
    auto const folder = site.siteDirectory();
    auto const isNginx = site.webServer == WebServer::nginx;
    auto const compose
        = isNginx ? ComposeTemplateBuilder::nginxCompose(site) : ComposeTemplateBuilder::apacheCompose(site);
    writeAtomically(folder + "/docker-compose.yml", compose, 0600);  // It holds the passwords.
    if (isNginx)
        writeAtomically(folder + "/nginx.conf", ComposeTemplateBuilder::nginxConfig(), 0644);
    ComposeOverride::write(folder, site.webServer);
}

void writeFlexibleSSL(std::string const& siteFolder)
{
    auto const folder = siteFolder + "/wordpress/wp-content/mu-plugins";
    createDirectories(folder);
    writeAtomically(folder + "/twkb-flexible-ssl.php", flexibleSSLPlugin, 0644);
}

/// Self-signed, ten years, under the same names for every site: sites differ by their ports only.
std::string certificateCommand(std::string const& folder)
{
    return "openssl req -x509 -nodes -days 3650     -newkey rsa:2048     -keyout '" + folder
        + "/server.key'     -out '" + folder
        + "/server.crt'     -subj '/CN=localhost'     -addext "
          "'subjectAltName=DNS:localhost,DNS:*.localhost,IP:127.0.0.1'";
}

/// Whether the slug is one plain name. A list of sites that was damaged or edited by hand can hold any text
/// there, and an empty one or ".." would name the folders of all sites.
bool hasFolderOfItsOwn(Site const& site)
{
    return !site.slug.empty() && site.slug != "." && site.slug != ".."
        && site.slug.find('/') == std::string::npos;
}

}  // namespace

SiteLifecycle::SiteLifecycle()
    : executor_(WorkerPool::makeSerialExecutor())
    , docker_(DockerCLI::shared())
{
}

awaitable<Site> SiteLifecycle::create(
    std::string name, PHPVersion phpVersion, WebServer webServer, std::set<int> usedPorts)
{
    return runOn(executor_, build(std::move(name), phpVersion, webServer, std::move(usedPorts)));
}

awaitable<Site> SiteLifecycle::build(
    std::string name, PHPVersion phpVersion, WebServer webServer, std::set<int> usedPorts)
{
    auto const ports = PortAllocator::allocate(std::move(usedPorts));
    if (!ports)
        throw SiteLifecycleError::portsUnavailable();
    Site site(std::move(name), phpVersion, webServer, ports->http, ports->https, ports->mysql);

    co_await docker_.checkDocker();
    if (fileExists(site.siteDirectory()))
        throw SiteLifecycleError::siteAlreadyExists(site.name);
    createSiteDirectory(site);

    co_await makeCertificate(site.siteDirectory());
    writeComposeFiles(site);
    writeFlexibleSSL(site.siteDirectory());  // Before the first start, so that the first page has it.
    co_await docker_.up(site.siteDirectory(), site.composeProjectName());
    co_return site;
}

awaitable<void> SiteLifecycle::start(Site site) { return runOn(executor_, refreshAndStart(std::move(site))); }

awaitable<void> SiteLifecycle::refreshAndStart(Site site)
{
    try {
        writeFlexibleSSL(site.siteDirectory());
    } catch (FileError const&) {
        // A site whose plugin cannot be put back starts all the same, under one of its two schemes.
    }
    try {
        ComposeOverride::write(site.siteDirectory(), site.webServer);
    } catch (FileError const&) {
        // What stands there from an earlier start still serves.
    }
    co_await docker_.up(site.siteDirectory(), site.composeProjectName());
}

awaitable<void> SiteLifecycle::stop(Site site)
{
    return runOn(executor_, docker_.down(site.siteDirectory(), site.composeProjectName()));
}

awaitable<void> SiteLifecycle::remove(Site site, bool deleteFiles)
{
    return runOn(executor_, destroy(std::move(site), deleteFiles));
}

awaitable<void> SiteLifecycle::destroy(Site site, bool deleteFiles)
{
    // Compose finds a project's containers by their labels, so a site whose folder is gone can be removed
    // from anywhere that holds no Compose file.
    auto const folder = fileExists(site.siteDirectory()) ? site.siteDirectory() : std::string("/");
    co_await docker_.destroy(folder, site.composeProjectName());
    if (!deleteFiles || !hasFolderOfItsOwn(site))
        co_return;
    std::error_code ignored;  // A folder that stays behind costs nothing; the deletion itself has succeeded.
    std::filesystem::remove_all(site.siteDirectory(), ignored);
}

SiteStatus statusOf(std::vector<ContainerInfo> const& containers)
{
    if (containers.empty())
        return SiteStatus::stopped;
    return std::ranges::all_of(containers, &ContainerInfo::isRunning) ? SiteStatus::running
                                                                      : SiteStatus::starting;
}

awaitable<SiteStatus> SiteLifecycle::status(Site site)
{
    return runOn(executor_, askStatus(std::move(site)));
}

awaitable<SiteStatus> SiteLifecycle::askStatus(Site site)
{
    try {
        co_return statusOf(co_await docker_.containers(site.siteDirectory(), site.composeProjectName()));
    } catch (std::exception const&) {
        co_return SiteStatus::error;
    }
}

awaitable<std::vector<ContainerInfo>> SiteLifecycle::siteContainers(Site site)
{
    return runOn(executor_, askContainers(std::move(site)));
}

awaitable<std::vector<ContainerInfo>> SiteLifecycle::askContainers(Site site)
{
    try {
        co_return co_await docker_.containers(site.siteDirectory(), site.composeProjectName());
    } catch (std::exception const&) {
        co_return std::vector<ContainerInfo>();
    }
}

awaitable<void> SiteLifecycle::installFlexibleSSL(std::string siteFolder)
{
    return callOn(executor_, [folder = std::move(siteFolder)] { writeFlexibleSSL(folder); });
}

awaitable<void> SiteLifecycle::generateCertificates(std::string siteFolder)
{
    return runOn(executor_, makeCertificate(std::move(siteFolder)));
}

awaitable<void> SiteLifecycle::makeCertificate(std::string siteFolder)
{
    auto const folder = siteFolder + "/ssl";
    createDirectories(folder);
    auto const result = co_await ShellRunner::shared().shell(certificateCommand(folder));
    if (result.exitCode != 0) {
        std::error_code ignored;  // A site without a certificate still answers on http.
        std::filesystem::remove_all(folder, ignored);
        co_return;
    }
    // openssl sees to the key itself; over the certificate the umask decides.
    ::chmod((folder + "/server.key").c_str(), 0600);
    ::chmod((folder + "/server.crt").c_str(), 0644);
}

}  // namespace harbor

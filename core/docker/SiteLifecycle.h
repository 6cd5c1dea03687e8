#pragma once

#include "core/docker/DockerCLI.h"
#include "core/site/Site.h"

#include <exception>
#include <set>
#include <string>
#include <vector>

namespace harbor {

class SiteLifecycleError : public std::exception {
public:
    enum class Case { directoryCreationFailed, siteAlreadyExists, siteNotFound, portsUnavailable };

    static SiteLifecycleError directoryCreationFailed(std::string const& path);
    static SiteLifecycleError siteAlreadyExists(std::string const& name);
    static SiteLifecycleError siteNotFound();
    static SiteLifecycleError portsUnavailable();

    Case kind() const { return kind_; }
    char const* what() const noexcept override { return description_.c_str(); }

private:
    SiteLifecycleError(Case kind, std::string description);
    Case kind_;
    std::string description_;
};

/// Turns a name into a running WordPress, and the reverse. It does not touch the list of sites.
class SiteLifecycle {
public:
    SiteLifecycle();

    /// Makes folder, certificate and Compose files, and starts the containers. A failure leaves what has been
    /// made so far, the folder included.
    /// @throws SiteLifecycleError, DockerError, FileError, std::system_error
    awaitable<Site> create(
        std::string name, PHPVersion phpVersion, WebServer webServer, std::set<int> usedPorts);
    awaitable<void> start(Site site);
    /// The database volume survives.
    awaitable<void> stop(Site site);
    /// Removes containers and database volume, then the folder if asked for. A failure of the first leaves
    /// the files alone.
    awaitable<void> remove(Site site, bool deleteFiles);
    /// As Docker tells it now. Never throws.
    awaitable<SiteStatus> status(Site site);
    /// Empty when they cannot be asked for. Never throws.
    awaitable<std::vector<ContainerInfo>> siteContainers(Site site);
    /// Writes the must-use plugin. Throws `FileError`.
    awaitable<void> installFlexibleSSL(std::string siteFolder);
    /// Makes "ssl/server.key" and "ssl/server.crt". An openssl that fails is no failure: the site then has no
    /// "ssl" folder.
    awaitable<void> generateCertificates(std::string siteFolder);

private:
    awaitable<Site> build(
        std::string name, PHPVersion phpVersion, WebServer webServer, std::set<int> usedPorts);
    awaitable<void> refreshAndStart(Site site);
    awaitable<void> destroy(Site site, bool deleteFiles);
    awaitable<SiteStatus> askStatus(Site site);
    awaitable<std::vector<ContainerInfo>> askContainers(Site site);
    awaitable<void> makeCertificate(std::string siteFolder);

    SerialExecutor executor_;
    DockerCLI& docker_;
};

/// What the states of a project's containers say of its site.
SiteStatus statusOf(std::vector<ContainerInfo> const& containers);

}  // namespace harbor

#include "cli/SiteCreation.h"

#include "core/base/File.h"
#include "core/base/Unicode.h"

namespace harbor::cli {

namespace {

/// A creation that failed halfway leaves what it made, and its folder keeps the name taken.
void tellWhatStands(Console& console, std::string const& folder)
{
    if (fileExists(folder))
        console.warn("What was made so far stays in " + folder + "; \"twkb doctor\" tells how to remove it.");
}

void store(Context& context, Site const& site)
{
    try {
        context.changeSites([&](SiteStore& sites) { sites.add(site); });
    } catch (CommandError const& error) {
        throw CommandError(std::string(error.what()) + "\nThe site runs all the same, with its files in "
            + site.siteDirectory() + ". Its record, for " + SiteStore::storeURL() + ":\n"
            + prettyJson(toJson(site)));
    }
}

}  // namespace

awaitable<Site> createStoredSite(
    Context& context, std::string name, PHPVersion phpVersion, WebServer webServer)
{
    auto const trimmed = unicode::trimBlanks(name);
    if (!unicode::isValidUtf8(trimmed))
        throw usageError("The name of the site is not UTF-8 text.");
    if (trimmed.empty())
        throw usageError("The name of the site is empty.");

    auto const folder = Site(trimmed, phpVersion, webServer, 0, 0, 0).siteDirectory();
    context.console().hint(
        "Creating \"" + trimmed + "\". The first site takes minutes, while Docker downloads its images.");

    auto const turn = co_await context.turnToCreate();
    auto const stoodBefore = fileExists(folder);
    std::optional<Site> site;
    std::exception_ptr failure;
    try {
        site = co_await context.lifecycle().create(
            trimmed, phpVersion, webServer, context.sites().usedPorts());
    } catch (...) {
        failure = std::current_exception();
    }
    if (failure) {
        if (!stoodBefore)
            tellWhatStands(context.console(), folder);
        std::rethrow_exception(failure);
    }

    store(context, *site);
    co_return std::move(*site);
}

}  // namespace harbor::cli

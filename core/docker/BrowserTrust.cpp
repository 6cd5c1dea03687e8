#include "core/docker/BrowserTrust.h"

#include "core/base/AtomicFile.h"
#include "core/base/Base64.h"
#include "core/base/File.h"
#include "core/base/Lines.h"
#include "core/base/Paths.h"
#include "core/base/Sha256.h"
#include "core/base/Unicode.h"
#include "core/site/ShellRunner.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>

namespace harbor {

namespace {

using Kind = BrowserStore::Kind;

constexpr std::string_view exceptionsHead = "# PSM Certificate Override Settings file\n"
                                            "# This is a generated file!  Do not edit.\n";
constexpr std::string_view sha256Identifier = "OID.2.16.840.1.101.3.4.2.1";

struct StorePlace {
    Kind kind;
    std::string root;   ///< In the home; each of its subfolders may hold a store,
    std::string inner;  ///< there.
};

StorePlace const places[] {
    { Kind::nssDatabase, "/.pki", "" },
    { Kind::nssDatabase, "/.var/app", "/.pki/nssdb" },
    { Kind::nssDatabase, "/snap", "/current/.pki/nssdb" },
    { Kind::firefoxProfile, "/.mozilla/firefox", "" },
    { Kind::firefoxProfile, "/.var/app/org.mozilla.firefox/.mozilla/firefox", "" },
    { Kind::firefoxProfile, "/snap/firefox/common/.mozilla/firefox", "" },
};

/// The certificates of a PEM text, each as its bytes (DER).
std::vector<std::string> certificatesIn(std::string_view pem)
{
    constexpr std::string_view begin = "-----BEGIN CERTIFICATE-----";
    constexpr std::string_view end = "-----END CERTIFICATE-----";
    std::vector<std::string> result;
    for (auto from = pem.find(begin); from != pem.npos; from = pem.find(begin, from + 1)) {
        auto const to = std::min(pem.find(end, from), pem.size());
        std::string digits(pem.substr(from + begin.size(), to - from - begin.size()));
        std::erase_if(digits, [](char c) { return c == '\n' || c == '\r'; });
        result.push_back(base64Decoded(digits).value_or(""));
    }
    return result;
}

std::string certificatePath(Site const& site) { return site.siteDirectory() + "/ssl/server.crt"; }

std::string certificateOf(Site const& site)
{
    auto const path = certificatePath(site);
    if (!fileExists(path))
        throw BrowserTrustError("The site has no certificate: " + path + " is missing.");
    auto const certificates = certificatesIn(readWholeFile(path));
    if (certificates.size() != 1 || certificates[0].empty())
        throw BrowserTrustError("There is no certificate in " + path + ".");
    return certificates[0];
}

// An NSS database.

/// Without a colon, which `certutil` takes for the end of a token's name.
std::string nicknameOf(Site const& site) { return "Tallowick Harbor site " + site.slug; }

awaitable<std::string> certutil(BrowserStore store, std::string options)
{
    auto const result = co_await ShellRunner::shared().shell(
        "certutil -d " + shellQuoted("sql:" + store.folder) + " " + options);
    if (result.exitCode == 127)
        throw BrowserTrustError("certutil is missing; it comes with the package libnss3-tools.");
    if (result.exitCode != 0)
        throw BrowserTrustError("certutil failed on " + store.folder + ": "
            + unicode::trimWhiteSpace(result.stderr.empty() ? result.stdout : result.stderr));
    co_return result.stdout;
}

std::string optionNaming(Site const& site) { return " -n " + shellQuoted(nicknameOf(site)); }

/// How many certificates bear the site's nickname.
awaitable<std::size_t> countStored(BrowserStore store, Site site)
{
    auto const listing = "\n" + co_await certutil(store, "-L");
    auto const line = "\n" + nicknameOf(site) + " ";
    std::size_t count = 0;
    for (auto at = listing.find(line); at != listing.npos; at = listing.find(line, at + 1))
        ++count;
    co_return count;
}

awaitable<BrowserTrust> databaseState(BrowserStore store, Site site)
{
    auto const certificate = certificateOf(site);
    auto const count = co_await countStored(store, site);
    if (count == 0)
        co_return BrowserTrust::none;
    // Prints all certificates of the same subject, and that is the same for every site.
    auto const stored = certificatesIn(co_await certutil(store, "-L -a" + optionNaming(site)));
    auto const isCurrent = count == 1 && std::ranges::count(stored, certificate) > 0;
    co_return isCurrent ? BrowserTrust::current : BrowserTrust::outdated;
}

awaitable<void> removeStored(BrowserStore store, Site site)
{
    for (auto left = co_await countStored(store, site); left > 0; --left)
        co_await certutil(store, "-D" + optionNaming(site));
}

awaitable<void> addCertificate(BrowserStore store, Site site)
{
    co_await removeStored(store, site);
    // "P": trusted as this very server. As an authority ("C") whoever reads the key could vouch for any site.
    co_await certutil(store, "-A -t P,," + optionNaming(site) + " -i " + shellQuoted(certificatePath(site)));
}

// A profile of Firefox.

std::string exceptionsPath(BrowserStore const& store) { return store.folder + "/cert_override.txt"; }

/// How the line of the site's exception begins.
std::string exceptionKey(Site const& site) { return "localhost:" + std::to_string(site.httpsPort) + ":\t"; }

std::string exceptionLine(Site const& site, std::string const& certificate)
{
    Sha256 hash;
    hash.update(certificate);
    return fmt::format("{}{}\t{:02X}\t", exceptionKey(site), sha256Identifier, fmt::join(hash.digest(), ":"));
}

/// The lines of the exceptions, without their ends; the head of a new file where there is none.
std::vector<std::string> exceptionsIn(BrowserStore const& store)
{
    auto const path = exceptionsPath(store);
    auto const text = fileExists(path) ? readWholeFile(path) : std::string(exceptionsHead);
    auto const lines = linesOf(text);
    return { lines.begin(), lines.end() };
}

BrowserTrust exceptionState(BrowserStore const& store, Site const& site)
{
    auto const wanted = exceptionLine(site, certificateOf(site));
    for (auto const& line : exceptionsIn(store)) {
        if (line.starts_with(exceptionKey(site)))
            return line.starts_with(wanted) ? BrowserTrust::current : BrowserTrust::outdated;
    }
    return BrowserTrust::none;
}

/// The "lock" of a profile leads to "address:+process".
bool isHeldByFirefox(BrowserStore const& store)
{
    std::error_code failure;
    auto const target = std::filesystem::read_symlink(store.folder + "/lock", failure).native();
    auto const plus = target.rfind('+');
    if (failure || plus == target.npos)
        return false;
    auto const process = std::atoi(target.c_str() + plus + 1);
    return process > 0 && (::kill(process, 0) == 0 || errno == EPERM);
}

/// Puts `line` in the place of the site's exception, or removes that when the line is empty.
void changeException(BrowserStore const& store, Site const& site, std::string const& line)
{
    auto lines = exceptionsIn(store);
    auto const before = lines;
    std::erase_if(lines, [&](std::string const& one) { return one.starts_with(exceptionKey(site)); });
    if (!line.empty())
        lines.push_back(line);
    if (lines == before)
        return;
    if (isHeldByFirefox(store))
        throw BrowserTrustError("Firefox is running with " + store.folder
            + " and would undo the change: close it, then run this again.");
    std::string text;
    for (auto const& one : lines)
        text += one + "\n";
    writeAtomically(exceptionsPath(store), text, 0600);
}

}  // namespace

std::vector<BrowserStore> browserStores()
{
    std::vector<BrowserStore> stores;
    std::error_code ignored;  // A browser that was never used has no folder.
    for (auto const& [kind, root, inner] : places) {
        for (auto const& entry : std::filesystem::directory_iterator(Paths::home() + root, ignored)) {
            auto const folder = entry.path().native() + inner;
            if (fileExists(folder + "/cert9.db"))
                stores.push_back({ kind, folder });
        }
    }
    std::ranges::sort(stores, {}, &BrowserStore::folder);
    return stores;
}

awaitable<BrowserTrust> browserTrust(BrowserStore store, Site site)
{
    if (store.kind == Kind::firefoxProfile)
        co_return exceptionState(store, site);
    co_return co_await databaseState(store, site);
}

awaitable<void> trustInBrowser(BrowserStore store, Site site)
{
    if (co_await browserTrust(store, site) == BrowserTrust::current)
        co_return;
    if (store.kind == Kind::firefoxProfile)
        changeException(store, site, exceptionLine(site, certificateOf(site)));
    else
        co_await addCertificate(store, site);
}

awaitable<void> distrustInBrowser(BrowserStore store, Site site)
{
    if (store.kind == Kind::firefoxProfile)
        changeException(store, site, {});
    else
        co_await removeStored(store, site);
}

}  // namespace harbor

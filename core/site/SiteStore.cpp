#include "core/site/SiteStore.h"

#include "core/base/AtomicFile.h"
#include "core/base/Describe.h"
#include "core/base/File.h"
#include "core/base/FileLock.h"
#include "core/base/Paths.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>

namespace harbor {

namespace {

/// The stored list; empty without a file.
/// @throws FileError, JsonError
std::vector<Site> readSites(std::string const& path)
{
    if (!fileExists(path))
        return {};
    auto const document = parseJson(readWholeFile(path));
    return JsonReader(document).as<std::vector<Site>>();
}

bool isDamaged(std::string const& path)
{
    try {
        readSites(path);
        return false;
    } catch (std::exception const&) {
        return true;
    }
}

bool standsThere(std::string const& path)
{
    std::error_code ignored;  // A name that cannot be looked at cannot be written to either.
    return std::filesystem::exists(std::filesystem::symlink_status(path, ignored));
}

/// Renaming works on a full disk too, and without leave to read the file.
std::string setAside(std::string const& path)
{
    auto const stem = path + ".damaged-" + iso8601(std::chrono::system_clock::now());
    auto aside = stem;
    for (int number = 2; standsThere(aside); ++number)
        aside = stem + "-" + std::to_string(number);
    if (std::rename(path.c_str(), aside.c_str()) != 0)
        throw FileError(errno, aside);
    return aside;
}

}  // namespace

SiteStore::SiteStore()
{
    try {
        sites_ = readSites(storeURL());
    } catch (std::exception const& error) {
        loadError_ = describe(error);
    }
}

void SiteStore::add(Site site)
{
    sites_.push_back(std::move(site));
    saveAndTell();
}

void SiteStore::update(Site const& site)
{
    auto const found = std::ranges::find(sites_, site.id, &Site::id);
    if (found == sites_.end())
        return;
    *found = site;
    saveAndTell();
}

void SiteStore::remove(Uuid const& id)
{
    std::erase_if(sites_, [&](Site const& site) { return site.id == id; });
    saveAndTell();
}

std::optional<Site> SiteStore::site(Uuid const& id) const
{
    auto const found = std::ranges::find(sites_, id, &Site::id);
    if (found == sites_.end())
        return std::nullopt;
    return *found;
}

std::set<int> SiteStore::usedPorts() const
{
    std::set<int> ports;
    for (auto const& site : sites_) {
        ports.insert(site.httpPort);
        ports.insert(site.mysqlPort);
    }
    return ports;
}

void SiteStore::reload()
{
    // No program removes the file: one that is missing was moved away, and the next save writes it again.
    if (lastSaveError_ || !fileExists(storeURL()))
        return;
    try {
        auto stored = readSites(storeURL());
        loadError_.reset();
        if (stored == sites_)
            return;
        sites_ = std::move(stored);
    } catch (std::exception const& error) {
        loadError_ = describe(error);
        return;
    }
    for (auto const& observer : observers_)
        observer();
}

void SiteStore::change(std::function<void(SiteStore&)> const& changes)
{
    auto const lock = FileLock::take(storeURL() + ".lock");
    reload();
    changes(*this);
}

std::string SiteStore::storeURL()
{
    auto const folder = Paths::applicationSupport();
    try {
        createDirectories(folder);
    } catch (FileError const&) {
        // The save that needs the folder reports it.
    }
    return folder + "/sites.json";
}

void SiteStore::saveAndTell()
{
    try {
        save();
        lastSaveError_.reset();
    } catch (std::exception const& error) {
        lastSaveError_ = describe(error);
    }
    for (auto const& observer : observers_)
        observer();
}

void SiteStore::save()
{
    auto const path = storeURL();
    Json list = Json::array();
    for (auto const& site : sites_)
        list.push_back(toJson(site));
    auto const text = prettyJson(list);
    if (isDamaged(path))
        damagedCopy_ = setAside(path);
    writeAtomically(path, text, 0600);
}

}  // namespace harbor

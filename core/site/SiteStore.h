#pragma once

#include "core/site/Site.h"

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace harbor {

/// The program's memory of its sites: an ordered list in one JSON file, written through at every change. Main
/// thread only. Neither a failed load nor a failed save is an error; `loadError`, `lastSaveError` and
/// `damagedCopy` tell a front end that wants to speak of them.
///
/// A file that does not read as a list of sites is never overwritten: the next save first renames it to
/// "sites.json.damaged-" and the time, and is given up if that fails, so that the file stays where it is and
/// the change lives on in memory alone.
class SiteStore {
public:
    /// Loads the file; without a readable one the list is empty.
    SiteStore();

    std::vector<Site> const& sites() const { return sites_; }
    void add(Site site);
    /// Replaces the record of the same id; an unknown id changes nothing.
    void update(Site const& site);
    void remove(Uuid const& id);
    std::optional<Site> site(Uuid const& id) const;
    /// HTTP and MySQL ports of all sites. HTTPS ports are protected by the bind test alone.
    std::set<int> usedPorts() const;

    /// Reads the file again and tells observers if it differs; for a front end that shares it with another
    /// process, before it makes a change of its own. A file that cannot be read leaves the list as it is, and
    /// so does a change in memory that could not be saved.
    void reload();

    /// Makes changes to the list as it stands on disk now, while no other process makes one.
    /// @throws FileError  the lock's file cannot be made; nothing was changed
    void change(std::function<void(SiteStore&)> const& changes);

    /// Path of "sites.json"; makes its folder.
    static std::string storeURL();

    /// Has `observer` called after each change of the list.
    void observe(std::function<void()> observer) { observers_.push_back(std::move(observer)); }

    /// Why the file could not be read; nothing when it was sound or absent.
    std::optional<std::string> const& loadError() const { return loadError_; }
    /// The words of the last save that failed; nothing after one that succeeded.
    std::optional<std::string> const& lastSaveError() const { return lastSaveError_; }
    /// Where a damaged file was put before a save; nothing while none was.
    std::optional<std::string> const& damagedCopy() const { return damagedCopy_; }

private:
    void saveAndTell();
    void save();

    std::vector<Site> sites_;
    std::vector<std::function<void()>> observers_;
    std::optional<std::string> loadError_;
    std::optional<std::string> lastSaveError_;
    std::optional<std::string> damagedCopy_;
};

}  // namespace harbor

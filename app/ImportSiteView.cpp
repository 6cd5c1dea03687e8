#include "app/ImportSiteView.h"

#include "app/AppState.h"
#include "app/CreateSiteView.h"
#include "app/QtMainThread.h"
#include "app/RunNotice.h"
#include "app/State.h"
#include "app/Values.h"

#include "core/base/Describe.h"
#include "core/base/URLHost.h"
#include "core/base/Unicode.h"
#include "core/base/WorkerPool.h"

#include <QFileInfo>

#include <filesystem>
#include <utility>

namespace harbor {

namespace {

constexpr auto settlingTime = 5.0;  // seconds that a new site's WordPress and MySQL get before the import

/// A refusal of this sheet itself, in its own words.
class InputError : public std::exception {
public:
    explicit InputError(char const* text)
        : text_(text)
    {
    }
    char const* what() const noexcept override { return text_; }

private:
    char const* text_;
};

}  // namespace

ImportSiteView::ImportSiteView(std::shared_ptr<AppState> app)
    : app_(std::move(app))
    , progress_(makeState<SyncProgressState>())
{
    connect(app_.get(), &AppState::sitesChanged, this, &ImportSiteView::sitesChanged);
    connect(app_.get(), &AppState::sitesChanged, this, &ImportSiteView::changed);
}

void ImportSiteView::fileChosen(QUrl const& file)
{
    QFileInfo const chosen(file.toLocalFile());
    if (isImporting_ || !chosen.isFile() || !chosen.isReadable())
        return;
    chosenFile_ = fromQt(chosen.filePath());
    selectedFile_.clear();
    Q_EMIT changed();
    if (!std::exchange(isTakingFile_, true))
        start(takeFiles(shared_from_this()));
}

/// One copy after the other, for two files of one name share their copy's path. The last choice stays.
awaitable<void> ImportSiteView::takeFiles(Self self)
{
    while (self->chosenFile_)
        co_await self->takeFile(*std::exchange(self->chosenFile_, std::nullopt));
    self->isTakingFile_ = false;
}

awaitable<void> ImportSiteView::takeFile(std::string file)
{
    try {
        auto const copy = co_await callOn(WorkerPool::executor(), [&] { return replaceCopy(file); });
        if (chosenFile_)
            co_return;
        selectedFile_ = copy;
        error_.clear();
        // The retry was for the package before, and for its site.
        importedSite_.reset();
        importer_.reset();
        canRetryDatabase_ = false;
        Q_EMIT changed();

        SyncProgress unseen(qtMainThread());
        SiteImporter importer(unseen);
        manifest_ = co_await importer.readManifest(copy);
        proposeName();
    } catch (std::exception const& error) {
        error_ = toQt("Could not read package: " + describe(error));
    }
    Q_EMIT changed();
}

/// On the worker pool: a package can be as large as a disk is.
std::string ImportSiteView::replaceCopy(std::string const& file)
{
    if (!folder_)
        folder_.emplace("twkb-package-");
    auto const copy = folder_->path() + "/" + std::filesystem::path(file).filename().native();
    std::error_code ignored;  // A copy that is missing or old shows when the package is read.
    std::filesystem::remove(copy, ignored);
    std::filesystem::copy_file(file, copy, ignored);
    return copy;
}

/// A package without a name for its site is named by the host that it comes from.
void ImportSiteView::proposeName()
{
    if (!newSiteName_.isEmpty())
        return;
    newSiteName_ = toQt(hostOfURL(manifest_->site_url).value_or("")).remove(QStringLiteral("www."));
}

void ImportSiteView::importClicked()
{
    if (!canImport())
        return;
    begin();
    // A retry must never load this package into the site of an attempt before.
    importedSite_.reset();
    importer_.reset();
    progress_->progress()->reset();
    start(runImport(shared_from_this()));
}

awaitable<void> ImportSiteView::runImport(Self self)
{
    auto const alive = self->app_->keepAlive();
    auto const file = self->selectedFile_;
    auto const importer = std::make_shared<SiteImporter>(*self->progress_->progress());
    self->importer_ = importer;
    RunNotice const notice(self->app_->desktop());
    try {
        auto const site = co_await findOrCreateTarget(self);
        self->importedSite_ = site;
        co_await importer->importPackage(file, site, self->importDatabase_, self->importFiles_);
        std::error_code ignored;  // The folder of the copy goes with the sheet.
        std::filesystem::remove(file, ignored);
    } catch (InputError const& error) {
        self->error_ = toQt(error.what());
    } catch (std::exception const& error) {
        self->fail(describe(error));
    }
    self->finish(notice);
}

void ImportSiteView::finish(RunNotice const& notice)
{
    isImporting_ = false;
    Q_EMIT changed();
    if (error_.isEmpty())
        notice.end(QStringLiteral("Import complete"), fileName());
    else
        notice.end(QStringLiteral("Import failed"), error_);
}

awaitable<Site> ImportSiteView::findOrCreateTarget(Self self)
{
    if (!self->createNewSite_) {
        auto const site = self->selectedSiteID_ ? self->app_->site(*self->selectedSiteID_) : std::nullopt;
        if (!site)
            throw InputError("Please select a site");
        co_return *site;
    }
    auto const name = unicode::trimBlanks(fromQt(self->newSiteName_));
    if (name.empty())
        throw InputError("Please enter a site name");
    co_return co_await self->createTarget(name);
}

awaitable<Site> ImportSiteView::createTarget(std::string name)
{
    auto const site = co_await app_->createSite(std::move(name), phpVersion_, webServer_);
    co_await app_->desktop().clock.sleep(settlingTime);
    co_return site;
}

void ImportSiteView::retryClicked()
{
    if (!importedSite_ || selectedFile_.empty() || !importer_ || isImporting_)
        return;
    begin();
    start(runRetry(shared_from_this(), selectedFile_, *importedSite_));
}

awaitable<void> ImportSiteView::runRetry(Self self, std::string file, Site site)
{
    auto const alive = self->app_->keepAlive();
    auto const importer = self->importer_;
    RunNotice const notice(self->app_->desktop());
    try {
        co_await importer->retryDatabaseImport(std::move(file), std::move(site));
    } catch (std::exception const& error) {
        self->fail(describe(error));
    }
    self->finish(notice);
}

void ImportSiteView::begin()
{
    isImporting_ = true;
    error_.clear();
    canRetryDatabase_ = false;
    Q_EMIT changed();
}

void ImportSiteView::fail(std::string const& description)
{
    error_ = toQt(description);
    canRetryDatabase_ = importer_ && !importer_->importState().databaseCompleted;
    progress_->progress()->setPhase(Phase::failed);
    progress_->progress()->setError(description);
}

void ImportSiteView::cancel() { Q_EMIT closeRequested(); }

QString ImportSiteView::fileName() const
{
    return toQt(std::filesystem::path(selectedFile_).filename().native());
}
QString ImportSiteView::sourceSite() const { return manifest_ ? toQt(manifest_->site_url) : QString(); }

QString ImportSiteView::wordPressVersion() const
{
    return manifest_ ? toQt(manifest_->wp_version.value_or("")) : QString();
}

QString ImportSiteView::exportDate() const
{
    return manifest_ ? toQt(manifest_->export_date.value_or("")) : QString();
}

QStringList ImportSiteView::includes() const
{
    if (!manifest_ || !manifest_->includes)
        return {};
    QStringList tags;
    auto const add = [&tags](std::optional<bool> included, QString const& tag) {
        if (included.value_or(false))
            tags.append(tag);
    };
    add(manifest_->includes->database, QStringLiteral("DB"));
    add(manifest_->includes->themes, QStringLiteral("Themes"));
    add(manifest_->includes->plugins, QStringLiteral("Plugins"));
    add(manifest_->includes->uploads, QStringLiteral("Uploads"));
    return tags;
}

void ImportSiteView::setPHPVersion(int index)
{
    if (index >= 0 && index < static_cast<int>(allPHPVersions.size()))
        set(phpVersion_, static_cast<PHPVersion>(index));
}

void ImportSiteView::setWebServer(int index)
{
    if (index >= 0 && index < static_cast<int>(allWebServers.size()))
        set(webServer_, static_cast<WebServer>(index));
}

QStringList ImportSiteView::phpVersions() { return CreateSiteView::phpVersions(); }
QStringList ImportSiteView::webServers() { return CreateSiteView::webServers(); }

QStringList ImportSiteView::siteNames() const
{
    QStringList names;
    for (auto const& site : app_->sites())
        names.append(toQt(site.name));
    return names;
}

int ImportSiteView::selectedSite() const
{
    auto const& sites = app_->sites();
    for (std::size_t i = 0; i < sites.size(); ++i) {
        if (sites[i].id == selectedSiteID_)
            return static_cast<int>(i);
    }
    return -1;
}

void ImportSiteView::setSelectedSite(int index)
{
    auto const& sites = app_->sites();
    if (index >= 0 && index < std::ssize(sites))
        set(selectedSiteID_, std::optional(sites[static_cast<std::size_t>(index)].id));
}

}  // namespace harbor

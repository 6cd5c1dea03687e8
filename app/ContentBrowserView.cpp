#include "app/ContentBrowserView.h"

#include "app/AppState.h"
#include "app/ProductionGuardSheet.h"
#include "app/QtMainThread.h"
#include "app/State.h"
#include "app/Values.h"

#include "core/base/Describe.h"
#include "core/base/Unicode.h"

#include <algorithm>

namespace harbor {

namespace {

QString symbolOf(ContentRowState state)
{
    switch (state) {
    case ContentRowState::localOnly:
        return QStringLiteral("laptopcomputer");
    case ContentRowState::remoteOnly:
        return QStringLiteral("globe");
    case ContentRowState::localNewer:
        return QStringLiteral("arrow.up.circle.fill");
    case ContentRowState::remoteNewer:
        return QStringLiteral("arrow.down.circle.fill");
    case ContentRowState::inSync:
        return QStringLiteral("checkmark.circle.fill");
    case ContentRowState::slugMismatch:
        break;
    }
    return QStringLiteral("exclamationmark.triangle.fill");
}

double dateOf(std::optional<ContentItemSummary> const& item)
{
    return item && item->modified_gmt >= 1 ? static_cast<double>(item->modified_gmt) * 1000 : -1;
}

ContentRowValue valueOf(ContentRow const& row)
{
    auto const state = row.state();
    auto const text = describeState(state);
    auto const isMismatch = state == ContentRowState::slugMismatch;
    return {
        .itemID = QString::number(row.id),
        .title = row.title().empty() ? QStringLiteral("(no title)") : toQt(row.title()),
        .slug = toQt(row.slug()),
        .status = row.status() == "publish" ? QString() : toQt(row.status()),
        .remoteSlugNote = isMismatch ? toQt("different slug on remote: " + row.remote->slug) : QString(),
        .localDate = dateOf(row.local),
        .remoteDate = dateOf(row.remote),
        .hasLocal = row.local.has_value(),
        .hasRemote = row.remote.has_value(),
        .state = toQt(rawValue(state)),
        .badge = toQt(text.badge),
        .toolTip = toQt(text.toolTip),
        .symbol = symbolOf(state),
    };
}

}  // namespace

ContentBrowserView::ContentBrowserView(std::shared_ptr<AppState> app, Site site)
    : app_(std::move(app))
    , site_(std::move(site))
{
    connect(app_.get(), &AppState::statusChanged, this, [this](Uuid const& id) {
        if (id != site_.id)
            return;
        Q_EMIT isSiteRunningChanged();
        loadWhenReady();
    });
}

ContentBrowserView::~ContentBrowserView() = default;

void ContentBrowserView::appear()
{
    hasAppeared_ = true;
    loadWhenReady();
}

void ContentBrowserView::loadWhenReady()
{
    auto const self = weak_from_this().lock();
    if (!self || !hasAppeared_ || hasLoaded_ || !isSiteRunning())  // Without an owner it is about to go.
        return;
    hasLoaded_ = true;
    refresh();
}

void ContentBrowserView::refresh()
{
    setLoading(true);
    setMessages({}, {});
    start(fetchTypes(shared_from_this()));
}

awaitable<void> ContentBrowserView::fetchTypes(Self self)
{
    try {
        self->types_ = co_await fetchContentTypes(self->contentRun());
        auto const isOffered = std::ranges::find(self->types_, self->selectedType_, &ContentTypeInfo::name)
            != self->types_.end();
        if (!isOffered && !self->types_.empty())
            self->selectedType_ = self->types_.front().name;
        Q_EMIT self->typesChanged();
    } catch (std::exception const& error) {
        self->setMessages(self->statusMessage_, toQt(describe(error)));
        self->setLoading(false);
        co_return;
    }
    co_await fetchItems(self);
}

awaitable<void> ContentBrowserView::fetchItems(Self self)
{
    auto const type = self->selectedType_;
    ContentLists lists;
    QString failure;
    try {
        lists = co_await fetchContentItems(self->contentRun(), type);
    } catch (std::exception const& error) {
        failure = toQt(describe(error));
    }
    if (type != self->selectedType_)
        co_return;  // Another type was chosen meanwhile, and its own load is under way.
    if (!failure.isEmpty())
        self->setMessages(self->statusMessage_, failure);
    self->allRows_ = makeContentRows(lists.local, lists.remote);
    self->setLoading(false);
    self->showRows();
}

void ContentBrowserView::pushClicked(QString const& itemID)
{
    auto row = rowOf(itemID);
    if (!row || !row->local || busyItemID_)
        return;
    if (!isGuarded()) {
        ask(pushQuestion(*row), pushWarning(*row));
        pendingPush_ = std::move(row);
        Q_EMIT dialogsChanged();
        return;
    }
    auto const push = [this, row = *row, shownURL = site_.remoteSyncConfig->remoteURL] {
        // The site may have been linked to another remote while the sheet stood open.
        if (site_.remoteSyncConfig->remoteURL == shownURL)
            startAction(row, Direction::push);
        else
            pushClicked(QString::number(row.id));
    };
    guard_ = makeState<ProductionGuardSheet>(
        toQt(site_.remoteSyncConfig->remoteURL), toQt(pushTitle(*row)), toQt(pushWarning(*row)), push);
    connect(guard_.get(), &ProductionGuardSheet::closeRequested, this, &ContentBrowserView::cancelPending);
    Q_EMIT dialogsChanged();
}

void ContentBrowserView::pullClicked(QString const& itemID)
{
    auto row = rowOf(itemID);
    if (!row || !row->remote || busyItemID_)
        return;
    ask(pullQuestion(*row), pullWarning(*row));
    pendingPull_ = std::move(row);
    Q_EMIT dialogsChanged();
}

/// The words stay when the question goes, since its dialog takes a moment to fade.
void ContentBrowserView::ask(std::string const& question, std::string const& warning)
{
    dialogTitle_ = toQt(question);
    dialogMessage_ = toQt(warning);
}

void ContentBrowserView::confirmPush()
{
    auto const row = pendingPush_;
    cancelPending();
    if (!row)
        return;
    // The remote may have been classified as production while the dialog stood open.
    if (isGuarded())
        pushClicked(QString::number(row->id));
    else
        startAction(*row, Direction::push);
}

void ContentBrowserView::confirmPull()
{
    auto const row = pendingPull_;
    cancelPending();
    if (row)
        startAction(*row, Direction::pull);
}

void ContentBrowserView::cancelPending()
{
    // The sheet goes after the screen has been told.
    auto const closing = std::exchange(guard_, nullptr);
    pendingPush_.reset();
    pendingPull_.reset();
    Q_EMIT dialogsChanged();
}

void ContentBrowserView::startAction(ContentRow row, Direction direction)
{
    setBusyItem(row.id);
    setMessages({}, {});
    start(runAction(shared_from_this(), std::move(row), direction));
}

awaitable<void> ContentBrowserView::runAction(Self self, ContentRow row, Direction direction)
{
    auto const alive = self->app_->keepAlive();
    auto const type = self->selectedType_;
    auto const outcome = direction == Direction::push
        ? co_await pushContentItem(self->contentRun(), row, type)
        : co_await pullContentItem(self->contentRun(), row, type);
    auto const message = toQt(outcome.message);
    if (outcome.success) {
        self->setMessages(message, {});
        self->setLoading(true);
        co_await fetchItems(self);
    } else {
        self->setMessages({}, message);
    }
    self->setBusyItem(std::nullopt);
}

ContentRun ContentBrowserView::contentRun() const
{
    ContentRun run;
    run.site = site_;
    return run;
}

bool ContentBrowserView::isGuarded() const
{
    return site_.remoteSyncConfig && isProduction(site_.remoteSyncConfig->environment);
}

std::optional<ContentRow> ContentBrowserView::rowOf(QString const& itemID) const
{
    auto const found = std::ranges::find(allRows_, itemID.toLongLong(), &ContentRow::id);
    return found == allRows_.end() ? std::nullopt : std::optional(*found);
}

bool ContentBrowserView::isSiteRunning() const { return app_->status(site_.id) == SiteStatus::running; }

std::vector<ContentTypeInfo> ContentBrowserView::offeredTypes() const
{
    auto types = types_;
    if (std::ranges::find(types, selectedType_, &ContentTypeInfo::name) == types.end())
        types.push_back({ selectedType_, unicode::capitalized(selectedType_), 0 });
    return types;
}

QStringList ContentBrowserView::typeLabels() const
{
    QStringList labels;
    for (auto const& type : offeredTypes())
        labels.append(toQt(type.label + " (" + std::to_string(type.count) + ")"));
    return labels;
}

int ContentBrowserView::selectedTypeIndex() const
{
    auto const types = offeredTypes();
    return static_cast<int>(std::ranges::find(types, selectedType_, &ContentTypeInfo::name) - types.begin());
}

void ContentBrowserView::selectTypeAt(int index)
{
    auto const types = offeredTypes();
    if (index < 0 || index >= std::ssize(types)
        || types[static_cast<std::size_t>(index)].name == selectedType_)
        return;
    selectedType_ = types[static_cast<std::size_t>(index)].name;
    Q_EMIT typesChanged();
    setLoading(true);
    setMessages(statusMessage_, {});
    start(fetchItems(shared_from_this()));
}

QString ContentBrowserView::selectedType() const { return toQt(selectedType_); }

void ContentBrowserView::setSearchText(QString const& text)
{
    if (searchText_ == text)
        return;
    searchText_ = text;
    Q_EMIT searchTextChanged();
    showRows();
}

void ContentBrowserView::showRows()
{
    QList<ModelRow> rows;
    for (auto const& row : filterContentRows(allRows_, fromQt(searchText_)))
        rows.append({ QString::number(row.id), QVariant::fromValue(valueOf(row)) });
    rows_.assign(rows);
    Q_EMIT rowsChanged();
}

QString ContentBrowserView::emptyText() const
{
    if (isLoading_ || !hasLoaded_ || rows_.count() > 0)
        return {};
    auto const types = offeredTypes();
    auto const& label = std::ranges::find(types, selectedType_, &ContentTypeInfo::name)->label;
    return toQt("No " + unicode::lowerCased(label) + " found on either site.");
}

QString ContentBrowserView::busyItemID() const
{
    return busyItemID_ ? QString::number(*busyItemID_) : QString();
}

void ContentBrowserView::setLoading(bool isLoading)
{
    if (isLoading_ == isLoading)
        return;
    isLoading_ = isLoading;
    Q_EMIT isLoadingChanged();
    Q_EMIT rowsChanged();
}

void ContentBrowserView::setMessages(QString const& status, QString const& error)
{
    if (statusMessage_ == status && errorMessage_ == error)
        return;
    statusMessage_ = status;
    errorMessage_ = error;
    Q_EMIT messagesChanged();
}

void ContentBrowserView::setBusyItem(std::optional<std::int64_t> id)
{
    busyItemID_ = id;
    Q_EMIT busyItemChanged();
}

}  // namespace harbor

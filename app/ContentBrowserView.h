#pragma once

#include "app/RowModel.h"

#include "core/site/Site.h"
#include "core/sync/ContentRun.h"

#include <QObject>
#include <QStringList>
#include <QtQml/qqmlregistration.h>

#include <memory>
#include <optional>
#include <vector>

namespace harbor {

class AppState;
class ProductionGuardSheet;

/// An item of both sides, as its row shows it.
struct ContentRowValue {
    Q_GADGET
    Q_PROPERTY(QString itemID MEMBER itemID)
    Q_PROPERTY(QString title MEMBER title)
    Q_PROPERTY(QString slug MEMBER slug)
    Q_PROPERTY(QString status MEMBER status)
    Q_PROPERTY(QString remoteSlugNote MEMBER remoteSlugNote)
    Q_PROPERTY(double localDate MEMBER localDate)
    Q_PROPERTY(double remoteDate MEMBER remoteDate)
    Q_PROPERTY(bool hasLocal MEMBER hasLocal)
    Q_PROPERTY(bool hasRemote MEMBER hasRemote)
    Q_PROPERTY(QString state MEMBER state)
    Q_PROPERTY(QString badge MEMBER badge)
    Q_PROPERTY(QString toolTip MEMBER toolTip)
    Q_PROPERTY(QString symbol MEMBER symbol)
public:
    QString itemID;
    QString title;  ///< "(no title)" for an empty one.
    QString slug;
    QString status;          ///< Empty for a published item.
    QString remoteSlugNote;  ///< Empty unless the slugs differ.
    double localDate = -1;   ///< In milliseconds since 1970; negative where there is none, as the next.
    double remoteDate = -1;
    bool hasLocal = false;
    bool hasRemote = false;
    QString state;  ///< "localOnly" and its like.
    QString badge;
    QString toolTip;
    QString symbol;

    bool operator==(ContentRowValue const&) const = default;
};

/// The panel that lists the items of one type on both sides and moves them one at a time.
class ContentBrowserView : public QObject, public std::enable_shared_from_this<ContentBrowserView> {
    Q_OBJECT
    QML_NAMED_ELEMENT(ContentBrowserState)
    QML_UNCREATABLE("Made by the detail screen of a site.")
    Q_MOC_INCLUDE("app/ProductionGuardSheet.h")
    Q_PROPERTY(bool isSiteRunning READ isSiteRunning NOTIFY isSiteRunningChanged)
    Q_PROPERTY(QStringList typeLabels READ typeLabels NOTIFY typesChanged)
    Q_PROPERTY(int selectedTypeIndex READ selectedTypeIndex WRITE selectTypeAt NOTIFY typesChanged)
    Q_PROPERTY(QString searchText READ searchText WRITE setSearchText NOTIFY searchTextChanged)
    Q_PROPERTY(harbor::RowModel* rows READ rows CONSTANT)
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY isLoadingChanged)
    Q_PROPERTY(QString emptyText READ emptyText NOTIFY rowsChanged)
    Q_PROPERTY(QString busyItemID READ busyItemID NOTIFY busyItemChanged)
    Q_PROPERTY(QString statusMessage READ statusMessage NOTIFY messagesChanged)
    Q_PROPERTY(QString errorMessage READ errorMessage NOTIFY messagesChanged)
    Q_PROPERTY(bool hasPendingPush READ hasPendingPush NOTIFY dialogsChanged)
    Q_PROPERTY(bool hasPendingPull READ hasPendingPull NOTIFY dialogsChanged)
    Q_PROPERTY(QString dialogTitle READ dialogTitle NOTIFY dialogsChanged)
    Q_PROPERTY(QString dialogMessage READ dialogMessage NOTIFY dialogsChanged)
    Q_PROPERTY(harbor::ProductionGuardSheet* guard READ guard NOTIFY dialogsChanged)
public:
    ContentBrowserView(std::shared_ptr<AppState> app, Site site);
    ~ContentBrowserView() override;

    /// Loads once, as soon as the panel is shown and the site runs.
    Q_INVOKABLE void appear();
    Q_INVOKABLE void refresh();
    /// Both ask first, and do nothing for an item that their side does not have or while another is moved.
    Q_INVOKABLE void pushClicked(QString const& itemID);
    Q_INVOKABLE void pullClicked(QString const& itemID);
    Q_INVOKABLE void confirmPush();
    Q_INVOKABLE void confirmPull();
    Q_INVOKABLE void cancelPending();

    void setSite(Site const& site) { site_ = site; }
    bool isSiteRunning() const;
    /// "Pages (12)"
    QStringList typeLabels() const;
    int selectedTypeIndex() const;
    void selectTypeAt(int index);
    QString selectedType() const;
    QString searchText() const { return searchText_; }
    void setSearchText(QString const& text);
    /// Rows are `ContentRowValue`.
    RowModel* rows() { return &rows_; }
    bool isLoading() const { return isLoading_; }
    /// What stands in place of the rows once the load has ended.
    QString emptyText() const;
    QString busyItemID() const;
    QString statusMessage() const { return statusMessage_; }
    QString errorMessage() const { return errorMessage_; }
    bool hasPendingPush() const { return pendingPush_.has_value(); }
    bool hasPendingPull() const { return pendingPull_.has_value(); }
    QString dialogTitle() const { return dialogTitle_; }
    QString dialogMessage() const { return dialogMessage_; }
    ProductionGuardSheet* guard() const { return guard_.get(); }

Q_SIGNALS:
    void isSiteRunningChanged();
    void typesChanged();
    void searchTextChanged();
    void rowsChanged();
    void isLoadingChanged();
    void busyItemChanged();
    void messagesChanged();
    void dialogsChanged();

private:
    using Self = std::shared_ptr<ContentBrowserView>;
    enum class Direction { push, pull };

    void loadWhenReady();
    static awaitable<void> fetchTypes(Self self);
    static awaitable<void> fetchItems(Self self);
    void startAction(ContentRow row, Direction direction);
    static awaitable<void> runAction(Self self, ContentRow row, Direction direction);
    ContentRun contentRun() const;
    bool isGuarded() const;
    std::optional<ContentRow> rowOf(QString const& itemID) const;
    /// The types on offer, and the selected one even where it is none of them.
    std::vector<ContentTypeInfo> offeredTypes() const;
    void showRows();
    void setLoading(bool isLoading);
    void setMessages(QString const& status, QString const& error);
    void setBusyItem(std::optional<std::int64_t> id);
    void ask(std::string const& question, std::string const& warning);

    std::shared_ptr<AppState> app_;
    Site site_;
    std::vector<ContentTypeInfo> types_;
    std::string selectedType_ = "page";
    QString searchText_;
    std::vector<ContentRow> allRows_;
    RowModel rows_;
    bool isLoading_ = false;
    std::optional<std::int64_t> busyItemID_;
    QString statusMessage_;
    QString errorMessage_;
    std::optional<ContentRow> pendingPush_;
    std::optional<ContentRow> pendingPull_;
    QString dialogTitle_;
    QString dialogMessage_;
    std::shared_ptr<ProductionGuardSheet> guard_;
    bool hasAppeared_ = false;
    bool hasLoaded_ = false;
};

}  // namespace harbor

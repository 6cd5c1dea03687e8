#pragma once

#include "app/RowModel.h"

#include "core/base/Clock.h"
#include "core/site/Site.h"
#include "core/sync/DriftAnalyzer.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

#include <memory>
#include <optional>
#include <vector>

namespace harbor {

class AppState;

/// A plugin or theme, as its row shows it.
struct DriftValue {
    Q_GADGET
    Q_PROPERTY(QString name MEMBER name)
    Q_PROPERTY(QString kind MEMBER kind)
    Q_PROPERTY(QString status MEMBER status)
    Q_PROPERTY(QString label MEMBER label)
    Q_PROPERTY(QString symbol MEMBER symbol)
    Q_PROPERTY(QString summary MEMBER summary)
public:
    QString name;
    QString kind;    ///< "plugin" or "theme"
    QString status;  ///< "inSync", "modified", "localOnly" or "remoteOnly"
    QString label;   ///< "Modified"
    QString symbol;
    QString summary;  ///< "3 changed, 1 only remote"; only of a modified one.

    bool operator==(DriftValue const&) const = default;
};

/// The panel that tells which plugins and themes differ from the remote. It changes nothing on either side.
class DriftReportView : public QObject, public std::enable_shared_from_this<DriftReportView> {
    Q_OBJECT
    QML_NAMED_ELEMENT(DriftReportState)
    QML_UNCREATABLE("Made by the detail screen of a site.")
    Q_PROPERTY(bool isChecking READ isChecking NOTIFY isCheckingChanged)
    Q_PROPERTY(QString buttonText READ buttonText NOTIFY reportChanged)
    Q_PROPERTY(QString errorMessage READ errorMessage NOTIFY errorMessageChanged)
    Q_PROPERTY(double checkedAt READ checkedAt NOTIFY reportChanged)
    Q_PROPERTY(QString message READ message NOTIFY reportChanged)
    Q_PROPERTY(bool isAllInSync READ isAllInSync NOTIFY reportChanged)
    Q_PROPERTY(harbor::RowModel* drifted READ drifted CONSTANT)
    Q_PROPERTY(harbor::RowModel* matching READ matching CONSTANT)
    Q_PROPERTY(QString matchingText READ matchingText NOTIFY reportChanged)
    Q_PROPERTY(bool showInSync READ showInSync NOTIFY showInSyncChanged)
public:
    DriftReportView(std::shared_ptr<AppState> app, Site site);

    Q_INVOKABLE void check();
    Q_INVOKABLE void toggleInSync();

    void setSite(Site const& site) { site_ = site; }
    bool isChecking() const { return isChecking_; }
    QString buttonText() const { return items_ ? QStringLiteral("Re-check") : QStringLiteral("Check Drift"); }
    QString errorMessage() const { return errorMessage_; }
    /// In milliseconds since 1970; negative before the first report.
    double checkedAt() const;
    /// What stands in place of the rows; empty when there are rows to show, or a first check is running.
    QString message() const;
    bool isAllInSync() const;
    /// Rows are `DriftValue`, as of the matching ones.
    RowModel* drifted() { return &drifted_; }
    RowModel* matching() { return &matching_; }
    /// "3 in sync"; empty when there is nothing to unfold.
    QString matchingText() const;
    bool showInSync() const { return showInSync_; }

Q_SIGNALS:
    void isCheckingChanged();
    void errorMessageChanged();
    void reportChanged();
    void showInSyncChanged();

private:
    static awaitable<void> runCheck(std::shared_ptr<DriftReportView> self, Site site);
    void show(std::vector<DriftItem> items);
    void setChecking(bool isChecking);
    void setErrorMessage(QString const& text);

    std::shared_ptr<AppState> app_;
    Site site_;
    bool isChecking_ = false;
    std::optional<std::vector<DriftItem>> items_;
    QString errorMessage_;
    std::optional<TimePoint> checkedAt_;
    bool showInSync_ = false;
    RowModel drifted_;
    RowModel matching_;
};

}  // namespace harbor

#pragma once

#include "app/RowModel.h"

#include "core/base/Async.h"
#include "core/site/Site.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

#include <memory>

namespace harbor {

class AppState;

/// The log of a running site's containers. The stream goes with the panel, and with it the process behind it.
class SiteLogsView : public QObject, public std::enable_shared_from_this<SiteLogsView> {
    Q_OBJECT
    QML_NAMED_ELEMENT(SiteLogsState)
    QML_UNCREATABLE("Made by the detail screen of a site.")
    Q_PROPERTY(harbor::RowModel* logs READ logs CONSTANT)
    Q_PROPERTY(bool isStreaming READ isStreaming NOTIFY isStreamingChanged)
    Q_PROPERTY(bool autoScroll READ autoScroll WRITE setAutoScroll NOTIFY autoScrollChanged)
public:
    static constexpr int mostLines = 5000;

    SiteLogsView(std::shared_ptr<AppState> app, Site site);
    ~SiteLogsView() override;

    /// Starts the stream, which begins with the last 100 lines again.
    Q_INVOKABLE void resume();
    Q_INVOKABLE void pause();
    Q_INVOKABLE void clear();
    /// Puts the lines from `first` to `last` on the clipboard, in full.
    Q_INVOKABLE void copy(int first, int last) const;

    /// Rows are `LogLine`.
    RowModel* logs() { return &logs_; }
    bool isStreaming() const { return isStreaming_; }
    bool autoScroll() const { return autoScroll_; }
    void setAutoScroll(bool autoScroll);
    /// Splits a chunk into lines and appends them. A line that spans two chunks becomes two.
    void append(std::string_view chunk);

Q_SIGNALS:
    void isStreamingChanged();
    void autoScrollChanged();

private:
    struct StreamTask;
    /// Owns the stream but not the panel, whose end must be able to end it.
    static awaitable<void> read(
        std::weak_ptr<SiteLogsView> panel, std::shared_ptr<StreamTask> task, Site site);
    void setStreaming(bool isStreaming);
    void appendLines(QStringList const& lines);

    std::shared_ptr<AppState> app_;
    Site site_;
    RowModel logs_;
    bool isStreaming_ = false;
    std::shared_ptr<StreamTask> streamTask_;
    bool autoScroll_ = true;
};

}  // namespace harbor

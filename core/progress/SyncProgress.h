#pragma once

#include "core/base/Async.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace harbor {

/// Stage of a long operation. Its text is what the user sees.
enum class Phase {
    idle,
    connecting,
    exportingDatabase,
    importingDatabase,
    rewritingURLs,
    buildingManifest,
    syncingFiles,
    verifyingFiles,
    complete,
    failed
};

std::string phaseText(Phase phase);

/// The one object through which a long operation speaks to a screen. Main thread only: engines hop there for
/// each update, by `enter`, `log` and `update` below. A write of an equal value tells no observer.
class SyncProgress {
public:
    enum class Field {
        phase,
        totalBytes,
        transferredBytes,
        totalFiles,
        processedFiles,
        currentFile,
        error,
        logs
    };
    using Observer = std::function<void(Field)>;

    static constexpr std::size_t longestLog = 500;  ///< In lines; older ones are dropped.

    explicit SyncProgress(MainThread mainThread);
    SyncProgress(SyncProgress const&) = delete;
    SyncProgress& operator=(SyncProgress const&) = delete;

    Phase phase() const { return phase_; }
    std::int64_t totalBytes() const { return totalBytes_; }
    std::int64_t transferredBytes() const { return transferredBytes_; }
    std::int64_t totalFiles() const { return totalFiles_; }
    std::int64_t processedFiles() const { return processedFiles_; }
    std::string const& currentFile() const { return currentFile_; }
    std::optional<std::string> const& error() const { return error_; }
    std::deque<std::string> const& logs() const { return logs_; }

    void setPhase(Phase value) { set(phase_, value, Field::phase); }
    void setTotalBytes(std::int64_t value) { set(totalBytes_, value, Field::totalBytes); }
    void setTransferredBytes(std::int64_t value) { set(transferredBytes_, value, Field::transferredBytes); }
    void setTotalFiles(std::int64_t value) { set(totalFiles_, value, Field::totalFiles); }
    void setProcessedFiles(std::int64_t value) { set(processedFiles_, value, Field::processedFiles); }
    void setCurrentFile(std::string value) { set(currentFile_, std::move(value), Field::currentFile); }
    void setError(std::optional<std::string> value) { set(error_, std::move(value), Field::error); }
    void setLogs(std::deque<std::string> value) { set(logs_, std::move(value), Field::logs); }

    /// Appends one line, "[14:03:27] " and the message.
    void log(std::string_view message);
    /// Puts every field back to its start value.
    void reset();

    /// Share of the work that is done: by bytes if their total is known, else by files, else 0. Not clamped.
    double fraction() const;
    /// Whether the phase is one of work: from `connecting` to `verifyingFiles`.
    bool isActive() const;

    /// Has `observer` called after each real change of a field.
    void observe(Observer observer) { observers_.push_back(std::move(observer)); }
    MainThread const& mainThread() const { return mainThread_; }

private:
    template <class T>
    void set(T& field, T value, Field name)
    {
        if (field == value)
            return;
        field = std::move(value);
        tell(name);
    }
    void tell(Field field);

    MainThread mainThread_;
    Phase phase_ = Phase::idle;
    std::int64_t totalBytes_ = 0;
    std::int64_t transferredBytes_ = 0;
    std::int64_t totalFiles_ = 0;
    std::int64_t processedFiles_ = 0;
    std::string currentFile_;
    std::optional<std::string> error_;
    std::deque<std::string> logs_;
    std::vector<Observer> observers_;
};

/// Changes `progress` on the main thread and is back once the change is made. `change` takes the progress.
template <class Change>
awaitable<void> update(SyncProgress& progress, Change change)
{
    auto apply = [&progress, change = std::move(change)]() mutable { change(progress); };
    co_await callOn(progress.mainThread(), std::move(apply));
}

awaitable<void> enter(SyncProgress& progress, Phase phase);
awaitable<void> log(SyncProgress& progress, std::string message);

}  // namespace harbor

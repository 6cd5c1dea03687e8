#include "core/progress/SyncProgress.h"

#include "core/base/Timestamp.h"

#include <array>

namespace harbor {

namespace {

constexpr std::array<std::string_view, 10> phaseTexts { "Idle", "Connecting...", "Exporting database...",
    "Importing database...", "Rewriting URLs...", "Building file manifest...", "Syncing files...",
    "Verifying files...", "Complete", "Failed" };

}  // namespace

std::string phaseText(Phase phase) { return std::string(phaseTexts[static_cast<std::size_t>(phase)]); }

SyncProgress::SyncProgress(MainThread mainThread)
    : mainThread_(std::move(mainThread))
{
}

void SyncProgress::log(std::string_view message)
{
    logs_.push_back("[" + localTimeOfDay(std::chrono::system_clock::now()) + "] " + std::string(message));
    while (logs_.size() > longestLog)
        logs_.pop_front();
    tell(Field::logs);
}

void SyncProgress::reset()
{
    setPhase(Phase::idle);
    setTotalBytes(0);
    setTransferredBytes(0);
    setTotalFiles(0);
    setProcessedFiles(0);
    setCurrentFile({});
    setError(std::nullopt);
    setLogs({});
}

double SyncProgress::fraction() const
{
    if (totalBytes_ >= 1)
        return static_cast<double>(transferredBytes_) / static_cast<double>(totalBytes_);
    if (totalFiles_ >= 1)
        return static_cast<double>(processedFiles_) / static_cast<double>(totalFiles_);
    return 0.0;
}

bool SyncProgress::isActive() const { return phase_ >= Phase::connecting && phase_ <= Phase::verifyingFiles; }

void SyncProgress::tell(Field field)
{
    for (auto const& observer : observers_)
        observer(field);
}

awaitable<void> enter(SyncProgress& progress, Phase phase)
{
    co_await update(progress, [phase](SyncProgress& target) { target.setPhase(phase); });
}

awaitable<void> log(SyncProgress& progress, std::string message)
{
    co_await update(progress, [message = std::move(message)](SyncProgress& target) { target.log(message); });
}

}  // namespace harbor

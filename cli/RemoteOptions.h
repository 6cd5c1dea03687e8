#pragma once

#include "cli/Commands.h"

#include "core/sync/RemoteKey.h"

#include <string>

namespace harbor::cli {

/// What the commands that speak to a remote have in common.

/// The site of that slug, name or id, which must have a remote. Throws `CommandError`.
Site linkedSite(Context& context, std::string const& name);

/// Where the API key comes from: the secret store, or a file on machines without one.
struct KeyOption {
    std::string file;

    void addTo(CLI::App& command);
    /// @param stop  ends the wait for a key that comes through a pipe
    KeyReader reader(std::stop_token stop) const;
};

/// The user's word that something on the remote may be overwritten.
struct PushConsent {
    bool yes = false;
    std::string confirmedHost;

    void addTo(CLI::App& command);
};

/// What a push is about to do, in the words of its questions.
struct PushQuestion {
    std::string actionTitle;    ///< "Push database to remote"
    std::string message;        ///< What it overwrites, told before a production remote is.
    std::string plainQuestion;  ///< The whole question for any other remote.
};

/// Throws `CommandError` without consent: the typed host for a production remote, a yes for any other.
awaitable<void> requireConsent(
    Context& context, PushConsent consent, RemoteSyncConfig remote, PushQuestion question);

}  // namespace harbor::cli

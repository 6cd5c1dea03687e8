#pragma once

#include <string>

namespace harbor {

/// The user's folders, read from the environment at each call and without a trailing slash.
class Paths {
public:
    /// `$HOME`, else the home of the passwd entry.
    static std::string home();
    /// The program's own folder for state that is not a site: under `$XDG_DATA_HOME` (if absolute) or
    /// `~/.local/share` on Linux (XDG Base Directory rules), `~/Library/Application Support` on
    /// macOS.
    static std::string applicationSupport();
    /// `$TMPDIR`, else `/tmp`.
    static std::string temporaryDirectory();
};

}  // namespace harbor

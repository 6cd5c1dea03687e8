#pragma once

#include "cli/Context.h"

#include <optional>
#include <string>

namespace harbor::cli {

/// Questions to the person at the terminal; only where `Console::canAsk`. Ctrl-C throws `Interrupted`.

/// Whether the answer begins with "y"; anything else, and no answer, is a no.
awaitable<bool> confirm(Context& context, std::string question);

/// One line without its end; nothing at the end of the input.
awaitable<std::optional<std::string>> ask(Context& context, std::string question);

/// The same without showing what is typed.
awaitable<std::optional<std::string>> askSecret(Context& context, std::string question);

}  // namespace harbor::cli

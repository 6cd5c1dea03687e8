#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace harbor::DumpCheck {

/// What in a dump is likely to fail or to be lost on its way into the other database: log lines for the user,
/// in a fixed order, one for each kind. Only reads; a warning never stops anything.
std::vector<std::string> warnings(std::string_view sql);

}  // namespace harbor::DumpCheck

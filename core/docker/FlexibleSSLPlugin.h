#pragma once

#include <string_view>

namespace harbor {

/// Text of the must-use plugin "twkb-flexible-ssl.php", which lets a site answer under the scheme and host of
/// each request: without it WordPress would send every visitor to the one URL stored in its options.
extern std::string_view const flexibleSSLPlugin;

}  // namespace harbor

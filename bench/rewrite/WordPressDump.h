#pragma once

#include <cstddef>
#include <string>

namespace harbor::bench {

/// A dump as mysqldump writes it of a large WordPress site: posts with block content, their metadata, and
/// options, in INSERT lines of about 1 MB. Serialized arrays, JSON, 4-byte text; the site's URL about once in
/// 2 KB. The same arguments give the same bytes.
///
/// @param size  bytes that the dump has at least
std::string makeWordPressDump(std::size_t size, std::string const& siteURL);

}  // namespace harbor::bench

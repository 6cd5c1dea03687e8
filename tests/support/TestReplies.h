#pragma once

#include "core/base/Json.h"
#include "tests/support/HttpTestServer.h"

#include <string>

namespace harbor {

/// A reply of status 200 with a JSON body.
TestReply ok(Json const& body);

/// A failure in the plugin's form.
TestReply message(int status, std::string const& text);

}  // namespace harbor

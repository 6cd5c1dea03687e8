#pragma once

#include "core/base/File.h"
#include "core/base/TemporaryFile.h"

#include <cstdlib>
#include <optional>
#include <string>

namespace harbor {

/// Sets an environment variable for one scope.
class ScopedVariable {
public:
    ScopedVariable(std::string name, std::string const& value)
        : name_(std::move(name))
    {
        if (auto const* old = std::getenv(name_.c_str()))
            old_ = old;
        ::setenv(name_.c_str(), value.c_str(), 1);
    }
    ScopedVariable(ScopedVariable const&) = delete;
    ScopedVariable& operator=(ScopedVariable const&) = delete;
    ~ScopedVariable()
    {
        if (old_)
            ::setenv(name_.c_str(), old_->c_str(), 1);
        else
            ::unsetenv(name_.c_str());
    }

private:
    std::string name_;
    std::optional<std::string> old_;
};

/// A home of its own, with its own temporary directory, for one test.
class TemporaryHome {
public:
    TemporaryHome()
        : folder_("twkb-test-")
        , home_("HOME", folder_.path() + "/home")
        , data_("XDG_DATA_HOME", folder_.path() + "/home/.local/share")
        , temporary_("TMPDIR", folder_.path() + "/tmp")
    {
        createDirectories(path());
        createDirectories(temporaryDirectory(), 0700);
    }
    std::string path() const { return folder_.path() + "/home"; }
    std::string temporaryDirectory() const { return folder_.path() + "/tmp"; }

private:
    TemporaryDirectory folder_;
    ScopedVariable home_;
    ScopedVariable data_;
    ScopedVariable temporary_;
};

}  // namespace harbor

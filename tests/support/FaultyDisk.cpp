// A library to preload (LD_PRELOAD) that makes the Nth call on a file below chosen folders fail, once or from
// then on. It is steered by environment variables:
//
//   FAULTY_DISK_FOLDERS  path prefixes, separated by colons
//   FAULTY_DISK_AT       number of the call that fails, from 1
//   FAULTY_DISK_ERRNO    the error number
//   FAULTY_DISK_FOREVER  when set, every later call fails as well
//   FAULTY_DISK_MARKER   file that is made when a call fails

#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

struct Settings {
    std::string folders = value("FAULTY_DISK_FOLDERS");
    long at = std::atol(value("FAULTY_DISK_AT").c_str());
    int error = std::atoi(value("FAULTY_DISK_ERRNO").c_str());
    bool isForever = !value("FAULTY_DISK_FOREVER").empty();
    std::string marker = value("FAULTY_DISK_MARKER");

    static std::string value(char const* name)
    {
        auto const* const text = std::getenv(name);
        return text ? text : "";
    }
};

Settings const& settings()
{
    static auto const* const read = new Settings;
    return *read;
}

std::atomic<long> calls = 0;

bool isBelowChosenFolder(std::string_view path)
{
    std::string_view folders = settings().folders;
    while (!folders.empty()) {
        auto const folder = folders.substr(0, folders.find(':'));
        if (!folder.empty() && path.starts_with(folder))
            return true;
        folders.remove_prefix(std::min(folders.size(), folder.size() + 1));
    }
    return false;
}

/// Counts a call on that path and says whether it has to fail; `errno` is set then.
bool fails(std::string_view path)
{
    if (settings().at <= 0 || !isBelowChosenFolder(path))
        return false;
    auto const number = ++calls;
    if (number != settings().at && !(settings().isForever && number > settings().at))
        return false;
    if (!settings().marker.empty()) {
        auto const marker
            = ::syscall(SYS_openat, AT_FDCWD, settings().marker.c_str(), O_WRONLY | O_CREAT, 0600);
        ::syscall(SYS_close, marker);
    }
    errno = settings().error;
    return true;
}

std::string pathOf(int descriptor)
{
    std::array<char, PATH_MAX> path;
    auto const link = "/proc/self/fd/" + std::to_string(descriptor);
    auto const length = ::readlink(link.c_str(), path.data(), path.size());
    return length < 0 ? "" : std::string(path.data(), static_cast<std::size_t>(length));
}

std::string pathAt(int folder, char const* path)
{
    return path[0] == '/' || folder == AT_FDCWD ? path : pathOf(folder) + "/" + path;
}

template <class Function>
Function* next(Function*, char const* name)
{
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

int openAt(int folder, char const* path, int flags, mode_t mode)
{
    if (fails(pathAt(folder, path)))
        return -1;
    return static_cast<int>(::syscall(SYS_openat, folder, path, flags, mode));
}

mode_t modeOf(int flags, va_list arguments)
{
    return flags & (O_CREAT | O_TMPFILE) ? va_arg(arguments, mode_t) : 0;
}

}  // namespace

extern "C" {

int open(char const* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    auto const mode = modeOf(flags, arguments);
    va_end(arguments);
    return openAt(AT_FDCWD, path, flags, mode);
}

int open64(char const* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    auto const mode = modeOf(flags, arguments);
    va_end(arguments);
    return openAt(AT_FDCWD, path, flags, mode);
}

int openat(int folder, char const* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    auto const mode = modeOf(flags, arguments);
    va_end(arguments);
    return openAt(folder, path, flags, mode);
}

int openat64(int folder, char const* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    auto const mode = modeOf(flags, arguments);
    va_end(arguments);
    return openAt(folder, path, flags, mode);
}

ssize_t read(int descriptor, void* buffer, size_t size)
{
    return fails(pathOf(descriptor)) ? -1 : ::syscall(SYS_read, descriptor, buffer, size);
}

ssize_t write(int descriptor, void const* buffer, size_t size)
{
    return fails(pathOf(descriptor)) ? -1 : ::syscall(SYS_write, descriptor, buffer, size);
}

int fsync(int descriptor)
{
    return fails(pathOf(descriptor)) ? -1 : static_cast<int>(::syscall(SYS_fsync, descriptor));
}

int fchmod(int descriptor, mode_t mode)
{
    return fails(pathOf(descriptor)) ? -1 : static_cast<int>(::syscall(SYS_fchmod, descriptor, mode));
}

int mkdir(char const* path, mode_t mode)
{
    return fails(path) ? -1 : static_cast<int>(::syscall(SYS_mkdirat, AT_FDCWD, path, mode));
}

int mkdirat(int folder, char const* path, mode_t mode)
{
    return fails(pathAt(folder, path)) ? -1 : static_cast<int>(::syscall(SYS_mkdirat, folder, path, mode));
}

int rename(char const* from, char const* to)
{
    return fails(from) ? -1 : next(&::rename, "rename")(from, to);
}

int renameat(int fromFolder, char const* from, int toFolder, char const* to)
{
    return fails(pathAt(fromFolder, from)) ? -1
                                           : next(&::renameat, "renameat")(fromFolder, from, toFolder, to);
}

}  // extern "C"

#include "core/docker/DockerCLI.h"

#include "core/base/File.h"
#include "core/base/Hosts.h"
#include "core/base/Lines.h"
#include "core/base/TemporaryFile.h"
#include "core/base/Unicode.h"
#include "core/base/WorkerPool.h"

#include <cstdlib>
#include <regex>

namespace harbor {

namespace {

/// One argument may have 131,071 bytes on Linux, and the whole line is one argument of the shell.
constexpr std::size_t longestLine = 120'000;

constexpr std::string_view whiteSpace = " \t\n\v\f\r";

std::string compose(std::string const& project) { return "docker compose -p " + shellQuoted(project); }

/// The MySQL client as the site's own user on the site's own database.
std::string mysqlClient(std::string const& project, std::string const& password)
{
    return compose(project) + " exec -T mysql mysql --default-character-set=utf8mb4 -u wordpress -p"
        + shellQuoted(password) + " wordpress";
}

void throwIfFailed(ShellResult const& result)
{
    if (result.exitCode != 0)
        throw DockerError::commandFailed(result.stderr);
}

/// Installs WP-CLI on first use: it lasts as long as the container.
std::string wpScript(std::string const& arguments)
{
    return std::string("command -v wp >/dev/null 2>&1 || { curl -fsSL -o /usr/local/bin/wp ")
        + hosts::wpCliPhar
        + " && chmod +x /usr/local/bin/wp; } || "
          "{ echo 'Failed to install WP-CLI in the php container.' >&2; exit 127; }\n"
          "wp --allow-root --path=/var/www/html "
        + arguments;
}

/// One object a line; a line of another form is left out.
std::vector<ContainerInfo> parseContainers(std::string const& text)
{
    std::vector<ContainerInfo> containers;
    for (auto const line : linesOf(text)) {
        try {
            auto const object = parseJson(line);
            containers.push_back(JsonReader(object).as<ContainerInfo>());
        } catch (JsonError const&) {
            // Older versions print one array for all containers, others a warning between the objects.
        }
    }
    return containers;
}

}  // namespace

DockerError::DockerError(Case kind, std::string description)
    : kind_(kind)
    , description_(std::move(description))
{
}

DockerError DockerError::commandFailed(std::string const& text)
{
    return { Case::commandFailed, "Docker command failed: " + text };
}

DockerError DockerError::dockerNotInstalled()
{
    return { Case::dockerNotInstalled,
        std::string("Docker is not installed. Please install Docker Desktop from ") + hosts::dockerSite
            + "." };
}

DockerError DockerError::dockerNotRunning()
{
    return { Case::dockerNotRunning, "Docker is not running. Please start Docker Desktop." };
}

std::string ContainerInfo::displayState() const { return unicode::capitalized(State); }

std::optional<TimePoint> ContainerInfo::startedAt() const
{
    if (!isRunning())
        return std::nullopt;
    static std::regex const uptime(
        R"(Up\s+(?:About\s+)?(\d+)\s+(second|minute|hour|day|week|month))", std::regex::icase);
    auto const status = Status.substr(0, 1'000);  // The search needs stack for each character.
    std::smatch match;
    if (!std::regex_search(status, match, uptime))
        return fetchedAt;
    static std::map<std::string, double> const lengths { { "second", 1 }, { "minute", 60 }, { "hour", 3'600 },
        { "day", 86'400 }, { "week", 604'800 }, { "month", 2'592'000 } };
    using Seconds = std::chrono::duration<double>;
    Seconds const uptimeLength(
        std::strtod(match[1].str().c_str(), nullptr) * lengths.at(unicode::lowerCased(match[2].str())));
    if (uptimeLength > std::chrono::years(200))  // More than a moment holds.
        return fetchedAt;
    return fetchedAt - std::chrono::duration_cast<TimePoint::duration>(uptimeLength);
}

void readJson(JsonReader const& reader, ContainerInfo& result)
{
    result.Name = reader.required<std::string>("Name");
    result.Service = reader.required<std::string>("Service");
    result.State = reader.required<std::string>("State");
    result.Status = reader.required<std::string>("Status");
    result.Health = reader.optional<std::string>("Health");
    result.fetchedAt = std::chrono::system_clock::now();
}

DockerCLI& DockerCLI::shared()
{
    static DockerCLI docker;
    return docker;
}

DockerCLI::DockerCLI()
    : executor_(WorkerPool::makeSerialExecutor())
    , shell_(ShellRunner::shared())
{
}

awaitable<void> DockerCLI::checkDocker() { return runOn(executor_, probe()); }

awaitable<void> DockerCLI::probe()
{
    auto const found = co_await shell_.shell("which docker");
    if (found.exitCode != 0)
        throw DockerError::dockerNotInstalled();
    auto const answer = co_await shell_.shell("docker info > /dev/null 2>&1");
    if (answer.exitCode != 0)
        throw DockerError::dockerNotRunning();
}

awaitable<void> DockerCLI::up(std::string directory, std::string project)
{
    return runOn(executor_, expectSuccess(std::move(directory), compose(project) + " up -d --wait"));
}

awaitable<void> DockerCLI::down(std::string directory, std::string project)
{
    return runOn(executor_, expectSuccess(std::move(directory), compose(project) + " down"));
}

awaitable<void> DockerCLI::destroy(std::string directory, std::string project)
{
    return runOn(
        executor_, expectSuccess(std::move(directory), compose(project) + " down -v --remove-orphans"));
}

awaitable<void> DockerCLI::expectSuccess(std::string directory, std::string line)
{
    throwIfFailed(co_await shell_.shell(std::move(line), std::move(directory)));
}

awaitable<std::vector<ContainerInfo>> DockerCLI::containers(std::string directory, std::string project)
{
    return runOn(executor_, listContainers(std::move(directory), std::move(project)));
}

awaitable<std::vector<ContainerInfo>> DockerCLI::listContainers(std::string directory, std::string project)
{
    auto const result = co_await shell_.shell(compose(project) + " ps --format json", std::move(directory));
    if (result.exitCode != 0)
        co_return std::vector<ContainerInfo>();
    co_return parseContainers(result.stdout);
}

awaitable<OutputStream> DockerCLI::logs(std::string directory, std::string project)
{
    return runOn(executor_, openLogs(std::move(directory), std::move(project)));
}

awaitable<OutputStream> DockerCLI::openLogs(std::string directory, std::string project)
{
    auto docker = co_await findDocker();
    std::vector<std::string> arguments { "compose", "-p", std::move(project), "logs", "-f", "--tail", "100" };
    co_return shell_.stream(std::move(docker), std::move(arguments), std::move(directory));
}

awaitable<std::string> DockerCLI::recentLogs(std::string directory, std::string project)
{
    return runOn(executor_, readLogs(std::move(directory), std::move(project)));
}

awaitable<std::string> DockerCLI::readLogs(std::string directory, std::string project)
{
    auto result = co_await shell_.shell(compose(project) + " logs --tail 100 2>&1", std::move(directory));
    if (result.exitCode != 0)
        throw DockerError::commandFailed(result.stdout);
    co_return std::move(result.stdout);
}

awaitable<ShellResult> DockerCLI::executeSQL(std::string directory, std::string project, std::string sql)
{
    return runOn(executor_, runSQL(std::move(directory), std::move(project), "", std::move(sql)));
}

awaitable<std::string> DockerCLI::querySQL(std::string directory, std::string project, std::string sql)
{
    return runOn(executor_, query(std::move(directory), std::move(project), std::move(sql)));
}

awaitable<std::string> DockerCLI::query(std::string directory, std::string project, std::string sql)
{
    auto result = co_await runSQL(std::move(directory), std::move(project), " -N -B -r", std::move(sql));
    throwIfFailed(result);
    co_return std::move(result.stdout);
}

awaitable<ShellResult> DockerCLI::runSQL(
    std::string directory, std::string project, std::string flags, std::string sql)
{
    auto const client = mysqlClient(project, mysqlPassword(directory)) + flags;
    auto line = client + " -e " + shellQuoted(sql);
    if (line.size() <= longestLine && sql.find('\0') == sql.npos)
        co_return co_await shell_.shell(std::move(line), std::move(directory));

    // No argument can hold this text, so the client reads it from its input, with the same outcome.
    TemporaryFile const file("twkb-sql-", ".sql");
    file.write(sql);
    co_return co_await shell_.shell("cat " + shellQuoted(file.path()) + " | " + client, std::move(directory));
}

awaitable<void> DockerCLI::importSQL(std::string directory, std::string project, std::string sqlFile)
{
    return runOn(executor_, load(std::move(directory), std::move(project), std::move(sqlFile)));
}

awaitable<void> DockerCLI::load(std::string directory, std::string project, std::string sqlFile)
{
    auto const client = mysqlClient(project, mysqlPassword(directory));
    co_await expectSuccess(std::move(directory), "cat " + shellQuoted(sqlFile) + " | " + client);
}

awaitable<std::string> DockerCLI::dumpDatabase(std::string directory, std::string project)
{
    return runOn(executor_, dump(std::move(directory), std::move(project)));
}

awaitable<std::string> DockerCLI::dump(std::string directory, std::string project)
{
    auto const password = mysqlPassword(directory);
    auto line = compose(project) + " exec -T mysql mysqldump --default-character-set=utf8mb4 -u wordpress -p"
        + shellQuoted(password) + " wordpress";
    auto result = co_await shell_.shell(std::move(line), std::move(directory));
    throwIfFailed(result);
    co_return std::move(result.stdout);
}

awaitable<ShellResult> DockerCLI::wpCLI(std::string directory, std::string project, std::string arguments)
{
    auto line = compose(project) + " exec -T php sh -c " + shellQuoted(wpScript(arguments));
    return runOn(executor_, shell_.shell(std::move(line), std::move(directory)));
}

awaitable<std::string> DockerCLI::dockerPath() { return runOn(executor_, findDocker()); }

awaitable<std::string> DockerCLI::findDocker()
{
    auto const result = co_await shell_.shell("which docker");
    if (result.exitCode != 0)
        throw DockerError::dockerNotInstalled();
    co_return unicode::trimWhiteSpace(result.stdout);
}

std::string DockerCLI::mysqlPassword(std::string const& directory)
{
    constexpr std::string_view key = "MYSQL_PASSWORD:";
    auto const text = readWholeFile(directory + "/docker-compose.yml");
    // The password begins right after one white space; a key that is followed otherwise does not count.
    for (auto at = text.find(key); at != text.npos; at = text.find(key, at + 1)) {
        auto const start = at + key.size() + 1;
        if (start >= text.size() || whiteSpace.find(text[start - 1]) == whiteSpace.npos)
            continue;
        auto const end = std::min(text.find_first_of(whiteSpace, start), text.size());
        if (end > start)
            return text.substr(start, end - start);
    }
    throw DockerError::commandFailed("Could not read MySQL password from docker-compose.yml");
}

}  // namespace harbor

#include "core/base/File.h"
#include "tests/support/TestRemote.h"

#include <CLI/CLI.hpp>

#include <csignal>
#include <cstdio>

/// Serves a folder as a remote site until it is told to end, and prints its address on the first line. For
/// tests of the command line, for the laboratory and for benchmarks.
int main(int argc, char** argv)
{
    harbor::TestRemote::Options options;
    std::string dumpFile;
    bool withoutArchive = false;
    CLI::App app("A remote WordPress site for tests, on a loopback port.");
    app.add_option("--port", options.port, "Port; 0 takes a free one");
    app.add_option("--root", options.root, "The wp-content folder")->required();
    app.add_option("--key", options.key, "The API key");
    app.add_option("--dump", dumpFile, "File with the database's SQL");
    app.add_flag("--https", options.https, "With a certificate of its own for localhost");
    app.add_flag("--no-archive", withoutArchive, "Offers no bundles");
    CLI11_PARSE(app, argc, argv);
    options.archive = !withoutArchive;

    sigset_t ends;
    sigemptyset(&ends);
    sigaddset(&ends, SIGINT);
    sigaddset(&ends, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &ends, nullptr);

    harbor::TestRemote remote(options);
    if (!dumpFile.empty())
        remote.setDump(harbor::readWholeFile(dumpFile));
    std::printf("%s\n", remote.url().c_str());
    std::fflush(stdout);

    int signal = 0;
    sigwait(&ends, &signal);
    return 0;
}

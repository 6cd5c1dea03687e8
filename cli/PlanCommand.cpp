#include "cli/Commands.h"

#include "core/protocol/FileBatchPlanner.h"

#include <iostream>
#include <iterator>

namespace harbor::cli {

namespace {

struct PlanOptions {
    std::optional<std::int64_t> maxUpload;
    std::optional<std::int64_t> maxBatchBytes;
    std::string file;
};

std::string readInput(std::string const& file)
{
    if (!file.empty() && file != "-")
        return readWholeFile(file);
    return { std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>() };
}

Json pathsOf(std::vector<ManifestFile> const& files)
{
    auto paths = Json::array();
    for (auto const& file : files)
        paths.push_back(file.path);
    return paths;
}

awaitable<void> printPlan(Console& console, PlanOptions options)
{
    VerifyResponse server;
    server.max_upload = options.maxUpload;
    server.max_batch_bytes = options.maxBatchBytes;
    auto const limits = FileBatchPlanner::computeBatchLimits(server);
    auto const plan = FileBatchPlanner::plan(decodeManifestFiles(readInput(options.file)), limits);

    auto batches = Json::array();
    for (auto const& batch : plan.batches)
        batches.push_back({ { "deflate", batch.deflate }, { "totalBytes", batch.totalBytes },
            { "files", pathsOf(batch.files) } });
    console.printJson({ { "budget", limits.batchBudget }, { "threshold", limits.singleFileThreshold },
        { "batches", std::move(batches) }, { "chunk_fallback", pathsOf(plan.chunkFallback) } });
    co_return;
}

}  // namespace

void addPlanCommand(CLI::App& program, Context& context)
{
    auto& command = *program.add_subcommand("plan", "Divide a list of files into batches");
    auto const options = std::make_shared<PlanOptions>();
    command.add_option("--max-upload", options->maxUpload, "The server's limit on one upload, in bytes")
        ->type_name("N");
    command
        .add_option("--max-batch-bytes", options->maxBatchBytes, "The server's wish for one bundle, in bytes")
        ->type_name("N");
    command.add_option("FILE", options->file, "A list as \"manifest\" prints it; standard input without it");
    onRun(command, context, [&context, options] { return printPlan(context.console(), *options); });
}

}  // namespace harbor::cli

#include "cli/Commands.h"
#include "cli/Input.h"

#include "core/base/WorkerPool.h"
#include "core/protocol/FileBatchPlanner.h"

namespace harbor::cli {

namespace {

struct PlanOptions {
    std::optional<std::int64_t> maxUpload;
    std::optional<std::int64_t> maxBatchBytes;
    std::string file;
};

std::vector<ManifestFile> readFiles(std::string const& file, std::stop_token const& stop)
{
    auto const isStandardInput = file.empty() || file == "-";
    return decodeManifestFiles(isStandardInput ? readStandardInput(stop) : readInput(file, stop));
}

Json pathsOf(std::vector<ManifestFile> const& files)
{
    auto paths = Json::array();
    for (auto const& file : files)
        paths.push_back(file.path);
    return paths;
}

awaitable<void> printPlan(Context& context, PlanOptions options)
{
    auto const read = [&] { return readFiles(options.file, context.stopToken()); };
    auto const files = co_await callOn(WorkerPool::executor(), read);

    VerifyResponse server;
    server.max_upload = options.maxUpload;
    server.max_batch_bytes = options.maxBatchBytes;
    auto const limits = FileBatchPlanner::computeBatchLimits(server);
    auto const plan = FileBatchPlanner::plan(files, limits);

    auto batches = Json::array();
    for (auto const& batch : plan.batches)
        batches.push_back({ { "deflate", batch.deflate }, { "totalBytes", batch.totalBytes },
            { "files", pathsOf(batch.files) } });
    context.console().printJson(
        { { "budget", limits.batchBudget }, { "threshold", limits.singleFileThreshold },
            { "batches", std::move(batches) }, { "chunk_fallback", pathsOf(plan.chunkFallback) } });
}

}  // namespace

void addPlanCommand(CLI::App& program, Context& context)
{
    auto& command = *program.add_subcommand("plan", "Divide a list of files into batches");
    auto const options = std::make_shared<PlanOptions>();
    addInteger(command, "--max-upload", options->maxUpload, "The server's limit on one upload, in bytes");
    addInteger(
        command, "--max-batch-bytes", options->maxBatchBytes, "The server's wish for one bundle, in bytes");
    command.add_option("FILE", options->file, "A list as \"manifest\" prints it; standard input without it");
    onRun(command, context, [&context, options] { return printPlan(context, *options); });
}

}  // namespace harbor::cli

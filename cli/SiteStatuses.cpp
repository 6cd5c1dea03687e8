#include "cli/SiteStatuses.h"

#include <algorithm>
#include <memory>

namespace harbor::cli {

namespace {

constexpr std::size_t mostAtOnce = 8;

struct Round {
    std::vector<Site> sites;
    std::vector<SiteStatus> statuses;
    std::size_t next = 0;
};

awaitable<bool> askUntilAllAreAsked(Context& context, std::shared_ptr<Round> round)
{
    while (round->next < round->sites.size()) {
        auto const index = round->next++;
        auto const status = co_await context.lifecycle().status(round->sites[index]);
        round->statuses[index] = status;
    }
    co_return true;
}

awaitable<bool> askSideBySide(Context& context, std::shared_ptr<Round> round, std::size_t count)
{
    if (count <= 1)
        co_return co_await askUntilAllAreAsked(context, round);
    co_await both(askUntilAllAreAsked(context, round), askSideBySide(context, round, count - 1));
    co_return true;
}

}  // namespace

awaitable<std::vector<SiteStatus>> statusesOf(Context& context, std::vector<Site> sites)
{
    auto const count = sites.size();
    auto const round = std::make_shared<Round>(Round { std::move(sites), std::vector<SiteStatus>(count), 0 });
    co_await askSideBySide(context, round, std::min(count, mostAtOnce));
    co_return round->statuses;
}

}  // namespace harbor::cli

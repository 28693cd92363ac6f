#include <algorithm>
#include <array>

#include "PCSMaintReporter/PCSMaintReporter.h"

namespace {

struct Source {
    std::int32_t lru;
    std::int32_t component;
};

struct Row {
    std::array<unsigned char, 7> servers;  ///< ids; 0 is none
    int result;
    std::array<Source, 4> sources;
};

constexpr Row rows[] = {
    {{1, 32, 37, 40, 51, 53, 54}, 1, {{{1, 0}}}},
    {{33, 34}, 1, {{{1, 5}}}},
    {{35}, 1, {{{1, 9}}}},
    {{36}, 1, {{{1, 10}}}},
    {{38}, 1, {{{1, 3}}}},
    {{39, 50, 80}, 4, {{{1, 4}, {2, 14}, {2, 16}}}},
    {{41, 42}, 16, {{{3, 16}, {3, 17}, {1, 17}, {1, 1}}}},
    {{44, 45, 46, 52, 125}, 1, {{{1, 8}}}},
    {{47}, 14, {{{2, 15}, {2, 14}, {2, 13}, {2, 16}}}},
    {{48}, 1, {{{1, 6}}}},
    {{49}, 1, {{{1, 2}}}},
    {{96, 97}, 0, {{{1, 1}}}},
};

constexpr Row none{};

const Row& rowOf(unsigned char serverId) {
    for (const Row& row : rows) {
        if (serverId != 0 && std::ranges::find(row.servers, serverId) != row.servers.end()) {
            return row;
        }
    }
    return none;
}

}  // namespace

int PCSMaintReporter::getDefaultLruSubForServerID(const unsigned char& serverId, eLru& lru1,
                                                  eCmpo& cmpo1, eLru& lru2, eCmpo& cmpo2,
                                                  eLru& lru3, eCmpo& cmpo3, eLru& lru4,
                                                  eCmpo& cmpo4) {
    const Row& row = rowOf(serverId);
    const std::pair<eLru&, eCmpo&> outputs[] = {
        {lru1, cmpo1}, {lru2, cmpo2}, {lru3, cmpo3}, {lru4, cmpo4}};
    for (std::size_t i = 0; i < row.sources.size(); ++i) {
        outputs[i].first = eLru{row.sources[i].lru};
        outputs[i].second = eCmpo{row.sources[i].component};
    }
    return row.result;
}

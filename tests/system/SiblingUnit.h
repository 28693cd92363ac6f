#pragma once

#include "bench/FreshDomain.h"
#include "bench/SiblingProcess.h"
#include "system/Unit.h"

/** A unit with siblings around it, in a domain of its own. */
class SiblingUnit : public Unit {
protected:
    /** What the siblings' lines of the server's commands begin with. */
    static constexpr const char* sent = "command VGpsReceiverServer";

    void startAndJoin() {
        startAndRun();
        ASSERT_TRUE(siblings->join(bench::within(patience))) << output();
        bus();
    }
    bool heard(const std::string& sort, const std::string& text, std::size_t from = 0) {
        return siblings->hear(sort, text, bench::within(patience), from);
    }
    /** The same, and no second one so far. */
    bool heardOnce(const std::string& sort, const std::string& text, std::size_t from = 0) {
        return heard(sort, text, from) && siblings->count(sort, text, from) == 1;
    }

    static inline const std::filesystem::path aspnctl =
        std::filesystem::path(SERVER_PROGRAM).replace_filename("aspnctl");
    const unsigned domain = bench::freshDomain();
    std::optional<bench::SiblingProcess> siblings{std::in_place, root, aspnctl, domain};
};

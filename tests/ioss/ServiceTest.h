/** A device service over the configuration of a temporary unit, and its operations as verbs that
 *  give the code they end with.
 */
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "face/HC_Config.h"
#include "ioss/TemporaryUnit.h"
#include "support/CodeOf.h"

using R = FACE::RETURN_CODE_TYPE;

template <typename Service>
class ServiceTest : public testing::Test {
protected:
    using Code = R::Value;

    /** What no operation gives: it left the code alone. */
    static constexpr Code UNSET = R::TIMED_OUT;

    /** Codes for an open, a closed and an unknown connection. */
    using Answers = std::tuple<std::function<Code(long long)>, Code, Code, Code>;

    void make(const std::string& file, const std::shared_ptr<FACE::Configuration>& configuration =
                                           std::make_shared<FACE::HC_Config>()) {
        renew();
        EXPECT_EQ(code(&Service::Set_Reference, "", configuration, 0), R::NO_ERROR);
        EXPECT_EQ(code(&Service::Initialize, file.c_str()), R::NO_ERROR);
    }

    template <typename Operation, typename... Arguments>
    Code code(Operation operation, Arguments&&... arguments) {
        return codeOf(operation, *m_service, std::forward<Arguments>(arguments)...);
    }
    Code open(const char* name) { return code(&Service::Open_Connection, name, -1, m_connection); }
    Code close(long long connection) { return code(&Service::Close_Connection, connection); }

    /** `operation` as a row of answers wants it. */
    template <typename Operation, typename... Arguments>
    auto asking(Operation operation, Arguments... arguments) {
        return [=, this](long long id) { return code(operation, id, arguments...); };
    }

    void expectAnswers(const char* name, const std::vector<Answers>& rows) {
        for (std::size_t i = 0; i < rows.size(); ++i) {
            SCOPED_TRACE(i);
            const auto& [ask, opened, closed, unknown] = rows[i];
            ASSERT_EQ(open(name), R::NO_ERROR);
            EXPECT_EQ(ask(m_connection), opened);
            static_cast<void>(close(m_connection));
            EXPECT_EQ(ask(m_connection), closed);
            for (const long long id : {-1LL, m_connection + 1, 1LL << 40, -(1LL << 62)}) {
                EXPECT_EQ(ask(id), unknown);
            }
        }
    }

    void expectConfiguredOnce(const TemporaryUnit& unit) {
        renew();
        const std::string file = unit.configure({});
        EXPECT_EQ(code(&Service::Initialize, file.c_str()), R::INVALID_CONFIG) << "with nothing";
        EXPECT_EQ(open("Block"), R::INVALID_CONFIG);
        EXPECT_EQ(code(&Service::Set_Reference, "", nullptr, 0), R::INVALID_PARAM);
        const auto configuration = std::make_shared<FACE::HC_Config>();
        EXPECT_EQ(code(&Service::Set_Reference, "", configuration, 0), R::NO_ERROR);
        EXPECT_EQ(code(&Service::Set_Reference, "", configuration, 0), R::NOT_AVAILABLE);
        EXPECT_EQ(code(&Service::Initialize, "/no/file"), R::INVALID_CONFIG);
        EXPECT_EQ(code(&Service::Initialize, file.c_str()), R::NO_ERROR);
        EXPECT_EQ(code(&Service::Initialize, file.c_str()), R::NO_ACTION);
        make(file, configuration);  // which another user has initialized
    }

    void renew() {
        m_owner = std::make_unique<Service>();
        m_service = m_owner.get();
    }
    /** Ends the service; its own threads may use m_service until then. */
    void destroy() { m_owner.reset(); }

    Service* m_service = nullptr;
    long long m_connection = 99;

private:
    std::unique_ptr<Service> m_owner;
};

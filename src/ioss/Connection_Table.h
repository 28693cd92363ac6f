/** The connections of a device service, by id and by name. */
#pragma once

#include <algorithm>
#include <cstddef>
#include <deque>
#include <string_view>
#include <utility>

#include "face/FACE_Common.h"

namespace FACE::IOSS {

/** A connection's index is its id. The table never shrinks, so ids and addresses hold.
 *
 *  `Connection` has a `name` and, true while it may be used, an `isOpen`. Without a lock of its
 * own.
 */
template <typename Connection>
class Connection_Table {
public:
    using Return_Code = RETURN_CODE_TYPE::Value;

    /** Null for an id that was never given. */
    Connection* find(long long id) {
        const bool given = id >= 0 && std::cmp_less(id, m_connections.size());
        return given ? &m_connections[static_cast<std::size_t>(id)] : nullptr;
    }

    /** `rc` is NO_ERROR; or null, and INVALID_PARAM for an id that was never given, or
     *  CONNECTION_CLOSED. */
    Connection* findOpen(long long id, Return_Code& rc) {
        Connection* const found = find(id);
        if (found == nullptr) {
            rc = RETURN_CODE_TYPE::INVALID_PARAM;
            return nullptr;
        }
        rc = found->isOpen ? RETURN_CODE_TYPE::NO_ERROR : RETURN_CODE_TYPE::CONNECTION_CLOSED;
        return found->isOpen ? found : nullptr;
    }

    /** -1 for a name that has no connection. */
    long long idOf(std::string_view name) const {
        const auto found =
            std::find_if(m_connections.begin(), m_connections.end(),
                         [&](const Connection& connection) { return connection.name == name; });
        return found == m_connections.end() ? -1 : found - m_connections.begin();
    }

    /** The id of a new connection. */
    template <typename... Arguments>
    long long append(Arguments&&... arguments) {
        m_connections.emplace_back(std::forward<Arguments>(arguments)...);
        return static_cast<long long>(m_connections.size()) - 1;
    }

    auto begin() { return m_connections.begin(); }
    auto end() { return m_connections.end(); }

private:
    std::deque<Connection> m_connections;
};

}  // namespace FACE::IOSS

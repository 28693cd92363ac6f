#include "ioss/Device_Configuration.h"

#include "face/HC_Config_Helpers.h"

namespace FACE::IOSS {

namespace {

using Return_Code = RETURN_CODE_TYPE::Value;

/** An open container, closed at the end of its scope. */
class Container {
public:
    Container(Configuration& configuration, const String& name) : m_configuration(configuration) {
        m_configuration.Open(name, m_handle, m_opened);
    }
    ~Container() {
        if (isOpen()) {
            Return_Code ignored = RETURN_CODE_TYPE::NO_ERROR;
            m_configuration.Close(m_handle, ignored);
        }
    }
    Container(const Container&) = delete;
    Container& operator=(const Container&) = delete;

    bool isOpen() const { return m_opened == RETURN_CODE_TYPE::NO_ERROR; }
    int handle() const { return m_handle; }

private:
    Configuration& m_configuration;
    int m_handle = 0;
    Return_Code m_opened = RETURN_CODE_TYPE::NO_ACTION;
};

}  // namespace

void Device_Configuration::Set_Reference(const std::shared_ptr<Configuration>& configuration,
                                         Return_Code& rc) {
    if (m_configuration) {
        rc = RETURN_CODE_TYPE::NOT_AVAILABLE;
        return;
    }
    m_configuration = configuration;
    rc = configuration ? RETURN_CODE_TYPE::NO_ERROR : RETURN_CODE_TYPE::INVALID_PARAM;
}

void Device_Configuration::Initialize(const String& file, Return_Code& rc) {
    if (m_initialized) {
        rc = RETURN_CODE_TYPE::NO_ACTION;
        return;
    }
    rc = RETURN_CODE_TYPE::INVALID_CONFIG;
    if (!m_configuration) {
        return;
    }
    Return_Code loaded = RETURN_CODE_TYPE::INVALID_CONFIG;
    m_configuration->Initialize(file, loaded);
    m_initialized = loaded == RETURN_CODE_TYPE::NO_ERROR || loaded == RETURN_CODE_TYPE::NO_ACTION;
    if (m_initialized) {
        rc = RETURN_CODE_TYPE::NO_ERROR;
    }
}

bool Device_Configuration::read(const String& container, std::span<const char* const> names,
                                std::span<std::uint32_t> values) const {
    if (!m_configuration) {
        return false;
    }
    const Container opened(*m_configuration, container);
    if (!opened.isOpen()) {
        return false;
    }
    Return_Code rc = RETURN_CODE_TYPE::NO_ERROR;
    for (std::size_t i = 0; i < names.size(); ++i) {
        unsigned long long value = 0;
        HC_Config_Helpers::Details::Get_Unsigned_Parameter(*m_configuration, opened.handle(),
                                                           names[i], value, rc);
        values[i] = static_cast<std::uint32_t>(value);
    }
    return rc == RETURN_CODE_TYPE::NO_ERROR;
}

}  // namespace FACE::IOSS

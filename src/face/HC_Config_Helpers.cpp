#include "face/HC_Config_Helpers.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>

#include "utilities/Console.h"

namespace FACE::HC_Config_Helpers {

namespace {

constexpr int BASE_FROM_PREFIX = 0;

unsigned long long toUnsigned(const std::string& text) {
    return std::strtoull(text.c_str(), nullptr, BASE_FROM_PREFIX);
}

bool toBoolean(std::string text) {
    std::ranges::transform(text, text.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text == "true" || (text != "false" && toUnsigned(text) != 0);
}

/** Hands the parameter's text to `take`; sets INVALID_CONFIG when there is none. */
template <typename Take>
void readInto(Configuration& config, int handle, const String& name, RETURN_CODE_TYPE::Value& rc,
              const Take& take) {
    const std::string text = Details::Read_Config(config, handle, name);
    if (text.empty()) {
        rc = RETURN_CODE_TYPE::INVALID_CONFIG;
        return;
    }
    take(text);
}

}  // namespace

void Get_String_Parameter(Configuration& config, int handle, const String& name, String& value,
                          RETURN_CODE_TYPE::Value& rc) {
    readInto(config, handle, name, rc, [&](const std::string& text) { value = text.c_str(); });
}

void Get_Boolean_Parameter(Configuration& config, int handle, const String& name, bool& value,
                           RETURN_CODE_TYPE::Value& rc) {
    readInto(config, handle, name, rc, [&](const std::string& text) { value = toBoolean(text); });
}

void Set_String_Parameter(Configuration& config, int handle, const String& name,
                          const String& value, RETURN_CODE_TYPE::Value& rc) {
    if (!Details::Write_Config(config, handle, name, value)) {
        rc = RETURN_CODE_TYPE::INVALID_CONFIG;
    }
}

void Set_Boolean_Parameter(Configuration& config, int handle, const String& name, bool value,
                           RETURN_CODE_TYPE::Value& rc) {
    Set_String_Parameter(config, handle, name, value ? "TRUE" : "FALSE", rc);
}

namespace Details {

std::string Read_Config(Configuration& config, int handle, const String& name) {
    std::string text;
    int size = 0;
    RETURN_CODE_TYPE::Value rc{};
    config.Get_Size(handle, name, size, rc);
    if (rc == RETURN_CODE_TYPE::NO_ERROR && size > 0) {
        text.resize(static_cast<std::size_t>(size));
        int copied = 0;
        config.Read(handle, name, text.data(), size, copied, rc);
        const bool whole = rc == RETURN_CODE_TYPE::NO_ERROR && copied == size;
        text.resize(whole ? text.size() : 0);
    }
    if (text.empty()) {
        utilities::printLine("WARNING - Parameter ", name.view(), " not found");
    }
    return text;
}

bool Write_Config(Configuration& config, int handle, const String& name, const String& value) {
    if (!value.is_valid()) {
        return false;
    }
    // The interface takes a mutable buffer, and only reads it.
    void* bytes = const_cast<char*>(value.buffer());
    const int size = static_cast<int>(value.length());
    int written = 0;
    RETURN_CODE_TYPE::Value rc{};
    config.Write(handle, name, bytes, size, written, rc);
    return rc == RETURN_CODE_TYPE::NO_ERROR && written == size;
}

void Get_Unsigned_Parameter(Configuration& config, int handle, const String& name,
                            unsigned long long& value, RETURN_CODE_TYPE::Value& rc) {
    readInto(config, handle, name, rc, [&](const std::string& text) { value = toUnsigned(text); });
}

}  // namespace Details

}  // namespace FACE::HC_Config_Helpers

#include "victory/src/Complaint.h"

#include <cstdio>

namespace victory {

void complain(const std::string& text) {
    std::fprintf(stderr, "%s\n", text.c_str());
}

void complainOfSender(const std::string& text) {
    complain("SOAP 1.2 fault SOAP-ENV:Sender: " + text);
}

std::string printable(std::string_view text) {
    constexpr std::size_t kMaximum = 64;
    std::string shown(text.substr(0, kMaximum));
    for (char& character : shown) {
        if (character < ' ' || character > '~') {
            character = '?';
        }
    }
    return shown;
}

}  // namespace victory

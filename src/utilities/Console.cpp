#include "utilities/Console.h"

#include <iostream>

namespace utilities {

void writeOut(std::string_view text) {
    std::cout.write(text.data(), static_cast<std::streamsize>(text.size())).flush();
}

void writeError(std::string_view text) {
    std::cerr.write(text.data(), static_cast<std::streamsize>(text.size())).flush();
}

}  // namespace utilities

#include "bench/NmeaSentence.h"

#include <algorithm>
#include <string>

namespace bench {
namespace {

using namespace std::chrono;

constexpr std::size_t longestSentence = 256;
constexpr int century = 2000;

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

/** Two digits at `at`, which the text is known to hold. */
unsigned pair(std::string_view text, std::size_t at) {
    return static_cast<unsigned>((text[at] - '0') * 10 + (text[at + 1] - '0'));
}

bool beginsWithSixDigits(std::string_view text) {
    return text.size() >= 6 && std::all_of(text.begin(), text.begin() + 6, isDigit);
}

bool isPrintable(char character) {
    return character >= ' ' && character <= '~' && character != '$' && character != '*';
}

}  // namespace

std::optional<NmeaSentence> splitSentence(std::string_view line) {
    while (line.ends_with('\r') || line.ends_with('\n')) {
        line.remove_suffix(1);
    }
    if (line.size() < 5 || line.size() > longestSentence || line[0] != '$' ||
        line[line.size() - 3] != '*') {
        return std::nullopt;
    }
    unsigned told = 0;
    const char* end = line.data() + line.size();
    if (std::from_chars(end - 2, end, told, 16).ptr != end) {
        return std::nullopt;
    }
    std::string_view body = line.substr(1, line.size() - 4);
    unsigned sum = 0;
    for (const char character : body) {
        if (!isPrintable(character)) {
            return std::nullopt;
        }
        sum ^= static_cast<unsigned char>(character);
    }
    if (sum != told) {
        return std::nullopt;
    }
    std::size_t comma = body.find(',');
    NmeaSentence sentence{body.substr(0, comma), {}};
    while (comma != std::string_view::npos) {
        body.remove_prefix(comma + 1);
        comma = body.find(',');
        sentence.fields.push_back(body.substr(0, comma));
    }
    return sentence;
}

std::optional<milliseconds> toNmeaTime(std::string_view text) {
    if (!beginsWithSixDigits(text) ||
        (text.size() > 6 &&
         (text[6] != '.' || !std::all_of(text.begin() + 7, text.end(), isDigit)))) {
        return std::nullopt;
    }
    if (pair(text, 0) > 23 || pair(text, 2) > 59 || pair(text, 4) > 60) {
        return std::nullopt;
    }
    std::string thousandths(text.substr(std::min<std::size_t>(text.size(), 7), 3));
    thousandths.resize(3, '0');
    return hours(pair(text, 0)) + minutes(pair(text, 2)) + seconds(std::min(pair(text, 4), 59U)) +
           milliseconds(std::stoi(thousandths));
}

std::optional<year_month_day> toNmeaDate(std::string_view text) {
    if (text.size() != 6 || !beginsWithSixDigits(text)) {
        return std::nullopt;
    }
    const year_month_day date(year(century + static_cast<int>(pair(text, 4))), month(pair(text, 2)),
                              day(pair(text, 0)));
    return date.ok() ? std::optional(date) : std::nullopt;
}

}  // namespace bench

/** One line of an NMEA 0183 log, taken apart. */
#pragma once

#include <charconv>
#include <chrono>
#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

namespace bench {

/** Address ("GPRMC" for instance) and fields, which lie in the memory of the line. */
struct NmeaSentence {
    std::string_view address;
    std::vector<std::string_view> fields;

    /** The field, or empty when the sentence ends before it. */
    std::string_view field(std::size_t index) const {
        return index < fields.size() ? fields[index] : std::string_view();
    }
};

/** The sentence of a line, with or without its end. Empty when the line is anything but a whole
 *  sentence with a right checksum. */
std::optional<NmeaSentence> splitSentence(std::string_view line);

/** hhmmss or hhmmss.sss; the sixtieth second of a leap second counts as the one before it. */
std::optional<std::chrono::milliseconds> toNmeaTime(std::string_view text);
/** ddmmyy, of this century. */
std::optional<std::chrono::year_month_day> toNmeaDate(std::string_view text);

/** Fields of a sentence as values. An empty field has none; one that makes no sense has none
 *  either, and spoils the sentence. */
class NmeaFields {
public:
    explicit NmeaFields(const NmeaSentence& sentence) : m_sentence(sentence) {}

    /** No field asked for so far was senseless. */
    bool sound() const { return m_sound; }

    template <typename Number>
    std::optional<Number> number(std::size_t index, Number least, Number greatest) {
        const std::string_view text = m_sentence.field(index);
        Number value{};
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
        const bool plain = text.find_first_not_of("-.0123456789") == std::string_view::npos;
        const bool whole = error == std::errc() && end == text.data() + text.size();
        return judged(text, value, plain && whole && value >= least && value <= greatest);
    }
    std::optional<char> letter(std::size_t index, std::string_view among) {
        const std::string_view text = m_sentence.field(index);
        return judged(text, text.empty() ? '\0' : text[0],
                      text.size() == 1 && among.find(text) != std::string_view::npos);
    }
    std::optional<std::chrono::milliseconds> time(std::size_t index) {
        const auto time = toNmeaTime(m_sentence.field(index));
        return judged(m_sentence.field(index), time.value_or(std::chrono::milliseconds(0)),
                      time.has_value());
    }
    std::optional<std::chrono::year_month_day> date(std::size_t index) {
        const auto date = toNmeaDate(m_sentence.field(index));
        return judged(m_sentence.field(index), date.value_or(std::chrono::year_month_day()),
                      date.has_value());
    }

private:
    template <typename Value>
    std::optional<Value> judged(std::string_view text, Value value, bool good) {
        m_sound = m_sound && (good || text.empty());
        return good ? std::optional<Value>(value) : std::nullopt;
    }

    const NmeaSentence& m_sentence;
    bool m_sound = true;
};

}  // namespace bench

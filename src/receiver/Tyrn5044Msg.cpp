#include "receiver/Tyrn5044Msg.h"

#include "receiver/FieldTable.h"

namespace wire {

/** Characters in pairs, the first of each in the high byte of its word; two zeros behind them. */
struct SwappedText : Plain<std::array<std::uint16_t, Tyrn_5044_Msg::kTextLength / 2>> {
    using Value = std::array<char, Tyrn_5044_Msg::kTextLength + 2>;

    static Value read(unsigned char const* data) {
        auto words = Plain::read(data);
        ByteSwap(words.data(), static_cast<int>(words.size()));
        Value text{};
        std::memcpy(text.data(), words.data(), sizeof words);
        return text;
    }
};

}  // namespace wire

namespace {

using Record = Tyrn_5044_Msg::unpacked_msg5044_t;

// One field a line.
// clang-format off
constexpr auto kFields = wire::table<Tyrn_5044_Msg::packed_msg5044_t>(
    WIRE_FIELD(0x00, PdpDouble, timeOfValidity), WIRE_FIELD(0x08, U16, warningNumber),
    WIRE_FIELD(0x0A, SwappedText, text));
// clang-format on

}  // namespace

void Tyrn_5044_Msg::unpack_5044(packed_msg5044_t const& packed, unpacked_msg5044_t& unpacked) {
    kFields.unpack(packed, unpacked);
}

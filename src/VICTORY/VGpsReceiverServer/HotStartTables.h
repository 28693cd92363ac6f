/** The words and numbers of a hot start, as receiver, system and VICTORY service know them. */
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "victory/victory.h"

/** Names of the unit's ports, as the service knows them. */
inline constexpr std::array<std::string_view, 12> belvoPortStrings{
    "J1COM1", "J1COM2", "J1COM3", "J2COM1", "J2COM2", "J2COM3",
    "J3COM1", "J3COM2", "J3COM3", "J4COM1", "J4COM2", "J4COM3",
};

/** The same ports, row by row, as arguments of the system's hot start command. */
inline constexpr std::array<std::string_view, belvoPortStrings.size()> lutBelvoPortStrings{
    "1,COM1", "1,COM2", "1,COM3", "2,COM1", "2,COM2", "2,COM3",
    "3,COM1", "3,COM2", "3,COM3", "4,COM1", "4,COM2", "4,COM3",
};

/** A receiver message that belongs into a hot start record, and its id there. */
struct HotStartMessageId {
    std::uint16_t message;
    VgpscGssipMessageId id;
};
inline constexpr std::array<HotStartMessageId, 15> GSSIPtoVictoryMap{{
    {5120, 0},
    {5121, 1},
    {5122, 2},
    {5123, 3},
    {5124, 4},
    {5125, 5},
    {5126, 6},
    {5127, 7},
    {5128, 8},
    {5133, 9},
    {5134, 10},
    {5135, 11},
    {5401, 12},
    {5402, 13},
    {8020, 14},
}};

/** What frames a data transfer, in either direction. */
inline constexpr std::uint16_t startOfTransfer = 5103;
inline constexpr std::uint16_t endOfTransfer = 5104;
/** Their frames, which have a form of their own: 9 fixed bytes. */
inline constexpr std::array<std::uint8_t, 9> startOfTransferFrame{0xFF, 0x81, 0xEF, 0x13, 0x00,
                                                                  0x09, 0x01, 0x2D, 0x0A};
inline constexpr std::array<std::uint8_t, 9> endOfTransferFrame{0xFF, 0x81, 0xF0, 0x13, 0x00,
                                                                0x09, 0x01, 0x1D, 0x0A};

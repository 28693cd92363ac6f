/** fpgactl: reads and writes the FPGA's registers by name, for a technician.
 *
 *  Exit status: 0 done, 1 a register could not be read or written, 2 an error, said on standard
 *  error.
 */
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "face/HC_Config.h"
#include "ioss/HC_Devmem.h"
#include "platform/FPGA.h"
#include "utilities/Console.h"

namespace {

using utilities::concat;
using utilities::printErrorLine;
using utilities::printLine;

constexpr int done = 0;
constexpr int notAccessed = 1;
constexpr int error = 2;

struct Options {
    std::string root;
    std::string devices = "/opt/halcyrine/config/IODevices.xml";
    std::vector<std::string> names;
    std::string name;
    std::string value;
    std::string engine;
};

/** A register by its name, and which of them. */
struct Target {
    const fpga::Row* row;
    std::optional<std::uint32_t> index;
};

/** Takes its base from its prefix. */
std::uint64_t toNumber(const std::string& text, std::uint64_t most) {
    std::size_t end = 0;
    std::uint64_t value = 0;
    try {
        value = std::stoull(text, &end, 0);
    } catch (const std::logic_error&) {
        end = 0;
    }
    if (text.empty() || end != text.size() ||
        std::isdigit(static_cast<unsigned char>(text[0])) == 0 || value > most) {
        throw std::runtime_error(concat("No number up to ", most, ": \"", text, "\""));
    }
    return value;
}

Target targetOf(const std::string& text) {
    const std::size_t dot = text.find('.');
    const std::string name = text.substr(0, dot);
    const auto* const row = std::ranges::find(fpga::registers, name, &fpga::Row::name);
    if (row == fpga::registers.end()) {
        throw std::runtime_error(concat("No register \"", name, "\"; `fpgactl list` names them"));
    }
    if (dot == std::string::npos) {
        return {row, std::nullopt};
    }
    return {row, static_cast<std::uint32_t>(toNumber(text.substr(dot + 1), 0xFFFFFFFF))};
}

std::string labelOf(const fpga::Row& row, std::uint32_t index) {
    return row.bound == fpga::Bound::One ? std::string(row.name) : concat(row.name, ".", index);
}

/** Every block that is there. What fails ends the opening; it has been said on standard output. */
FpgaFace& openFpga(const std::string& devices) {
    auto memory = std::make_shared<FACE::IOSS::HC_Devmem>();
    FACE::RETURN_CODE_TYPE::Value code{};
    memory->Set_Reference("", std::make_shared<FACE::HC_Config>(), 0, code);
    memory->Initialize(devices.c_str(), code);
    if (code != FACE::RETURN_CODE_TYPE::NO_ERROR) {
        throw std::runtime_error(concat("Can't read ", devices, ", code ", code));
    }
    try {
        FpgaFace::Instance().InitFpga(memory);
    } catch (const std::runtime_error&) {
        printErrorLine("fpgactl: the FPGA is not as the server needs it, see above");
    }
    return FpgaFace::Instance();
}

int list(const FpgaFace& fpga) {
    for (const fpga::Row& row : fpga::registers) {
        const std::uint32_t count = fpga.count(row.id);
        const std::string name(row.name);
        printLine(name, std::string(24 - name.size(), ' '), row.width, " bits at ",
                  fpga::containerOf(row.block), row.block >= fpga::Block::Ptfe ? "N" : "", " ",
                  row.offset, row.stride == 0 ? "" : concat(" + ", row.stride, " N"),
                  row.bound == fpga::Bound::One ? "" : concat(", ", count, " of them"),
                  row.access == fpga::Access::ReadOnly ? ", read only" : "");
    }
    return done;
}

bool show(const FpgaFace& fpga, const fpga::Row& row, std::uint32_t index) {
    std::uint64_t value = 0;
    if (!fpga.read(row.id, index, value)) {
        printErrorLine("fpgactl: can't read ", labelOf(row, index));
        return false;
    }
    std::ostringstream hexadecimal;
    hexadecimal << std::hex << value;
    printLine(labelOf(row, index), " ", value, " 0x", hexadecimal.str());
    return true;
}

/** Ends at the first that can't be read: a count may be anything. */
bool showAll(const FpgaFace& fpga, const fpga::Row& row) {
    const std::uint32_t count = fpga.count(row.id);
    std::uint32_t index = 0;
    while (index < count && show(fpga, row, index)) {
        ++index;
    }
    return index == count;
}

int read(const FpgaFace& fpga, const std::vector<std::string>& names) {
    std::vector<Target> targets;
    for (const std::string& name : names) {
        targets.push_back(targetOf(name));
    }
    for (const fpga::Row& row : fpga::registers) {
        if (names.empty()) {
            targets.push_back({&row, std::nullopt});
        }
    }
    bool good = true;
    for (const Target& target : targets) {
        good =
            (target.index ? show(fpga, *target.row, *target.index) : showAll(fpga, *target.row)) &&
            good;
    }
    return good ? done : notAccessed;
}

int write(const FpgaFace& fpga, const Options& options) {
    const auto [row, index] = targetOf(options.name);
    if (row->access == fpga::Access::ReadOnly) {
        throw std::runtime_error(concat(row->name, " can only be read"));
    }
    if (!index && row->bound != fpga::Bound::One) {
        throw std::runtime_error(concat("There are ", fpga.count(row->id), " of ", row->name,
                                        "; say which, ", row->name, ".0 for instance"));
    }
    const std::uint64_t most = ~std::uint64_t{0} >> (64 - row->width);
    if (!fpga.write(row->id, index.value_or(0), toNumber(options.value, most))) {
        printErrorLine("fpgactl: can't write ", labelOf(*row, index.value_or(0)));
        return notAccessed;
    }
    return show(fpga, *row, index.value_or(0)) ? done : notAccessed;
}

int firmware(const FpgaFace& fpga) {
    std::string text = fpga.getFirmwareConfiguration();
    std::ranges::replace_if(
        text, [](unsigned char c) { return c < ' ' || c > '~'; }, '?');
    printLine(text);
    printLine(fpga.getFirmwareBuildStamp());
    return done;
}

int reset(const FpgaFace& fpga, const std::string& engine) {
    const std::uint32_t engines = fpga.count(fpga::Register::PtfeControl);
    if (engines == 0) {
        throw std::runtime_error("There is no engine");
    }
    fpga.fpga_ptfe_soft_reset(static_cast<std::uint32_t>(toNumber(engine, engines - 1)));
    return done;
}

}  // namespace

int main(int argc, char* argv[]) {
    Options options;
    CLI::App app("Reads and writes the registers of the unit's FPGA by name.", "fpgactl");
    app.require_subcommand(1);
    app.add_option("--root", options.root,
                   "Directory that the unit's paths lie below, of a bench for instance; else "
                   "HALCYRINE_ROOT");
    app.add_option("--devices", options.devices, "File of the register blocks")
        ->capture_default_str();
    app.add_subcommand("list", "Names the registers");
    auto* const reading = app.add_subcommand("read", "Shows registers, all unless some are named");
    reading->add_option("NAME", options.names, "uart_delay for all of them, uart_delay.2 for one");
    auto* const writing = app.add_subcommand("write", "Writes a register and shows it");
    writing->add_option("NAME", options.name, "uart_delay.2, engine_start ...")->required();
    writing->add_option("VALUE", options.value, "As 20480 or 0x5000")->required();
    auto* const identifying = app.add_subcommand("firmware", "Shows what the FPGA is");
    auto* const resetting = app.add_subcommand("reset", "Resets an engine for a microsecond");
    resetting->add_option("ENGINE", options.engine, "Counted from 0")->required();
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& failure) {
        return app.exit(failure) == 0 ? done : error;
    }
    try {
        if (!options.root.empty()) {
            ::setenv("HALCYRINE_ROOT", options.root.c_str(), 1);
        }
        const FpgaFace& fpga = openFpga(options.devices);
        return reading->parsed()       ? read(fpga, options.names)
               : writing->parsed()     ? write(fpga, options)
               : identifying->parsed() ? firmware(fpga)
               : resetting->parsed()   ? reset(fpga, options.engine)
                                       : list(fpga);
    } catch (const std::exception& failure) {
        printErrorLine("fpgactl: ", failure.what());
        return error;
    }
}

/** An FPGA in a file, whose register accesses are watched. */
#pragma once

#include <map>
#include <stdexcept>

#include "ioss/HC_Devmem.h"
#include "ioss/ServiceTest.h"
#include "platform/FPGA.h"

using Strings = std::vector<std::string>;

/** Register blocks in a file, which count what is done to them and can be made to fail. */
class WatchedDevmem : public FACE::IOSS::HC_Devmem {
public:
    void Open_Connection(const FACE::String& name, long long timeout, long long& connection,
                         R::Value& rc) override {
        FACE::IOSS::HC_Devmem::Open_Connection(name, timeout, connection, rc);
        if (rc == R::NO_ERROR) {
            opened.emplace_back(name.view());
        }
    }
    void Close_Connection(long long connection, R::Value& rc) override {
        FACE::IOSS::HC_Devmem::Close_Connection(connection, rc);
        closed += rc == R::NO_ERROR ? 1U : 0U;
    }
    void Read(long long connection, long long timeout, READ_PAYLOAD_TYPE& payload,
              R::Value& rc) override {
        FACE::IOSS::HC_Devmem::Read(connection, timeout, payload, rc);
        reads.push_back(payload.offset);
        note(connection, payload.offset, payload.width, "");
        if (payload.offset == spoiled) {
            rc = R::INVALID_MODE;
        }
    }
    void Write(long long connection, long long timeout, const WRITE_PAYLOAD_TYPE& payload,
               R::Value& rc) override {
        FACE::IOSS::HC_Devmem::Write(connection, timeout, payload, rc);
        note(connection, payload.offset, payload.width, " = " + std::to_string(payload.value));
    }

    Strings opened;
    std::size_t closed = 0;
    std::vector<std::uint32_t> reads;
    Strings log;  ///< block, offset [bytes], width [bits], and what was written
    std::uint32_t spoiled = ~0U;

private:
    void note(long long connection, std::uint32_t offset, std::uint32_t width,
              const std::string& value) {
        log.push_back(opened.at(static_cast<std::size_t>(connection)) + " " +
                      std::to_string(offset) + " " + std::to_string(width) + value);
    }
};

/** An FPGA of one engine. All its blocks lie at one address. */
class Fpga : public testing::Test {
protected:
    Fpga() {
        // The process opens /dev/mem once.
        static const TemporaryUnit unit;
        m_unit = &unit;
        unit.use();
        if (!std::filesystem::exists(unit.device("mem"))) {
            unit.makeSparse("mem", 0x10000);
        }
        for (const std::string& name : m_all) {
            m_blocks.push_back({name, {{"BaseAddress", "0x4000"}, {"Size", "0x400"}}});
        }
    }

    void putInMemory(std::uint64_t address, std::uint64_t value) const {
        std::fstream memory(m_unit->device("mem"), std::ios::binary | std::ios::in | std::ios::out);
        memory.seekp(static_cast<std::streamoff>(address));
        memory.write(reinterpret_cast<const char*>(&value), sizeof(value));
    }

    /** What InitFpga raises over the blocks, without the place of its origin. The read of the
     *  register at `spoiled` fails. */
    std::string failure(std::uint32_t spoiled = ~0U) {
        m_device = std::make_shared<WatchedDevmem>();
        m_device->spoiled = spoiled;
        for (const auto& [offset, value] : m_registers) {
            putInMemory(0x4000 + offset, value);
        }
        R::Value rc = R::TIMED_OUT;
        m_device->Set_Reference("", std::make_shared<FACE::HC_Config>(), 0, rc);
        m_device->Initialize(m_unit->configure(m_blocks).c_str(), rc);
        try {
            m_fpga.InitFpga(m_device);
        } catch (const std::runtime_error& error) {
            const std::string text = error.what();
            EXPECT_NE(text.find("FPGA.cpp["), std::string::npos) << text;
            return text.substr(text.find("]:") + 2);
        }
        return "";
    }

    const Strings m_all{"Processor_Interface", "Peripheral_Interface", "TimeStamp_Interface",
                        "PpsSlave_Interface",  "PtpClock_Interface",   "Ptfe_Interface0",
                        "PulseGen_Interface0", "Ptfe_Interface1",      "PulseGen_Interface1"};
    const TemporaryUnit* m_unit = nullptr;
    std::vector<Container> m_blocks;
    std::map<std::uint32_t, std::uint64_t> m_registers{
        {0, 58982400}, {8, 2}, {16, 1}, {24, 3}, {32, 4}, {128, 0x123456789ABCDE}};
    std::shared_ptr<WatchedDevmem> m_device;  ///< of the last start
    FpgaFace& m_fpga = FpgaFace::Instance();
};

/** What the tests of this folder share. */
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

#include "face/HC_Config.h"
#include "support/Allocations.h"
#include "support/Captured.h"
#include "support/CodeOf.h"

namespace face_test {

using FACE::HC_Config;
using RC = FACE::RETURN_CODE_TYPE;

/** A directory of its own with one configuration file, and a service over it. */
class ConfigFixture : public ::testing::Test {
protected:
    ConfigFixture() {
        std::string name = (std::filesystem::temp_directory_path() / "face-XXXXXX").string();
        m_directory = ::mkdtemp(name.data());
        m_path = m_directory / "config.xml";
    }
    ~ConfigFixture() override { std::filesystem::remove_all(m_directory); }

    /** As a new file: some file systems flush one that is truncated and written again. */
    void put(const std::string& text) const {
        std::filesystem::remove(m_path);
        std::ofstream(m_path, std::ios::binary) << text;
    }

    std::string file() const {
        std::ifstream in(m_path, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }

    RC::Value initialize(HC_Config& config) const {
        return codeOf(&HC_Config::Initialize, config, m_path.c_str());
    }

    /** The handle; -1 with a failed expectation when there is none. */
    static int open(HC_Config& config, const char* container) {
        int handle = -1;
        EXPECT_EQ(codeOf(&HC_Config::Open, config, container, handle), RC::NO_ERROR) << container;
        return handle;
    }

    /** The text, or the code's name in angle brackets. */
    static std::string read(HC_Config& config, int handle, const char* parameter) {
        std::string text(64, '?');
        int copied = -1;
        const RC::Value rc =
            codeOf(&HC_Config::Read, config, handle, parameter, text.data(), 64, copied);
        text.resize(static_cast<std::size_t>(copied));
        return rc == RC::NO_ERROR ? text : '<' + std::string(RC::ToString(rc).view()) + '>';
    }

    static RC::Value write(HC_Config& config, int handle, const char* parameter,
                           std::string value) {
        const auto size = static_cast<int>(value.size());
        int written = -1;
        const RC::Value rc =
            codeOf(&HC_Config::Write, config, handle, parameter, value.data(), size, written);
        EXPECT_EQ(written, rc == RC::NO_ERROR ? size : 0);
        return rc;
    }

    std::filesystem::path m_directory;
    std::filesystem::path m_path;
};

/** In the form in which the service saves: an unchanged save gives the same bytes. */
inline const std::string GOOD = R"(<?xml version="1.0" encoding="UTF-8"?>
<HC_Configurations xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance" xsi:noNamespaceSchemaLocation="config.xsd">
    <!-- two links, with something else between them -->
    <Link>
        <Name>A</Name>
        <Parameters>
            <Port>0x10</Port>
            <Text>Tom &amp; &lt;Jerry&gt;</Text>
            <Empty/>
            <Port>second</Port>
        </Parameters>
    </Link>
    <Device>
        <Name>Link2</Name>
        <Parameters>
            <Flag>tRuE</Flag>
        </Parameters>
    </Device>
    <Link>
        <Parameters>
            <Port>nameless</Port>
        </Parameters>
    </Link>
    <Link>
        <Name>B</Name>
        <Parameters>
            <Port>010</Port>
            <Quoted><![CDATA[raw]]></Quoted>
            <Noted>
                <!-- [s] -->5</Noted>
        </Parameters>
    </Link>
    <Link>
        <Name>C</Name>
    </Link>
</HC_Configurations>
)";

/** A service that has read the good file. */
class LoadedFixture : public ConfigFixture {
protected:
    LoadedFixture() {
        put(GOOD);
        EXPECT_EQ(initialize(m_config), RC::NO_ERROR);
    }

    HC_Config m_config;
};

}  // namespace face_test

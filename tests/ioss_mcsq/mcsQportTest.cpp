#include "ioss_mcsq/mcsQport.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <iostream>
#include <string>

#include "ioss/TemporaryUnit.h"
#include "ioss_mcsq/QueueSupport.h"

namespace {

auto openDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

TEST(McsQport, WithoutAFileNothingOpensAndAFailureIsSaidByThePlainName) {
    const TemporaryUnit unit;
    Captured errors(std::cerr);
    char byte = 'x';
    mcsReaderPort reader;
    mcsWriterPort writer;
    for (mcsQport* const port : std::initializer_list<mcsQport*>{&reader, &writer}) {
        EXPECT_STREQ(port->get_filename(), "");
        EXPECT_FALSE(port->hasSetFilename());
        EXPECT_EQ(port->can_open_file(), -1);
        EXPECT_EQ(port->openPort(), -1);
        EXPECT_EQ(errors.text(), "");
        port->set_filename("/dev/mcs7");
    }
    EXPECT_EQ(reader.openPort(), -1);
    EXPECT_EQ(writer.openPort(), -1);
    EXPECT_EQ(reader.can_open_file(), 0);
    EXPECT_FALSE(reader.is_file_open());
    EXPECT_EQ(reader.readFromPort(&byte, 1), 0);
    EXPECT_EQ(writer.writeToPort(&byte, 1), 0);
    const std::string output = "Unable to open output pipe file: /dev/mcs7\n";
    EXPECT_EQ(errors.text(), "Unable to open input pipe file: /dev/mcs7\n" + output + output);
}

TEST(McsQport, BytesGoFromWriterToReaderAndDescriptorsGoWithTheirPort) {
    TemporaryUnit unit;
    unit.makePipe("mcs7");
    const auto before = openDescriptors();
    {
        mcsReaderPort reader;
        mcsWriterPort writer;
        reader.set_filename("/dev/mcs7");
        writer.set_filename("/dev/mcs7");
        EXPECT_EQ(writer.can_open_file(), 1);
        EXPECT_NE(reader.openPort(), -1);
        EXPECT_NE(writer.openPort(), -1);
        EXPECT_NE(writer.openPort(), -1) << "again: the first descriptor goes";
        EXPECT_EQ(openDescriptors(), before + 2);
        EXPECT_EQ(writer.writeToPort("frames", 6), 6);
        std::string got(10, '.');
        EXPECT_EQ(reader.readFromPort(got.data(), -1), 0);
        EXPECT_EQ(reader.readFromPort(got.data(), 10), 6);
        EXPECT_EQ(got, "frames....");
    }
    EXPECT_EQ(openDescriptors(), before);
}

}  // namespace

#include "ioss_mcsq/mcsQport.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <iostream>
#include <memory>
#include <string>

#include "ioss/TemporaryUnit.h"
#include "ioss_mcsq/QueueSupport.h"

namespace {

TEST(McsQport, WithoutAFileNameNothingOpens) {
    for (const std::shared_ptr<mcsQport>& port :
         {std::shared_ptr<mcsQport>(std::make_shared<mcsReaderPort>()),
          std::shared_ptr<mcsQport>(std::make_shared<mcsWriterPort>())}) {
        EXPECT_STREQ(port->get_filename(), "");
        EXPECT_FALSE(port->hasSetFilename());
        EXPECT_EQ(port->can_open_file(), -1);
        EXPECT_EQ(port->openPort(), -1);
        EXPECT_FALSE(port->is_file_open());
    }
    char byte = 'x';
    EXPECT_EQ(mcsReaderPort().readFromPort(&byte, 1), 0);
    EXPECT_EQ(mcsWriterPort().writeToPort(&byte, 1), 0);
}

TEST(McsQport, FailureToOpenIsSaidByThePlainName) {
    const TemporaryUnit unit;
    Captured errors(std::cerr);
    mcsReaderPort reader;
    mcsWriterPort writer;
    reader.set_filename("/dev/mcs7");
    writer.set_filename("/dev/mcs7");
    EXPECT_EQ(reader.openPort(), -1);
    EXPECT_EQ(writer.openPort(), -1);
    EXPECT_EQ(reader.can_open_file(), 0);
    EXPECT_FALSE(reader.is_file_open());
    EXPECT_EQ(errors.text(),
              "Unable to open input pipe file: /dev/mcs7\n"
              "Unable to open output pipe file: /dev/mcs7\n"
              "Unable to open output pipe file: /dev/mcs7\n");
}

TEST(McsQport, BytesGoFromWriterToReaderAndDescriptorsGoWithTheirPort) {
    TemporaryUnit unit;
    unit.makePipe("mcs7");
    const auto openDescriptors = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    };
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

#include "tools/midimon/describe.h"

#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <vector>

namespace {

using bytes = std::vector<std::uint8_t>;

TEST(midimon_describe, says_what_messages_mean) {
    std::istringstream table(
        "91 3c 7f=note on channel 1 note 60 velocity 127|"
        "80 00 40=note off channel 0 note 0 velocity 64|"
        "af 7f 01=key pressure channel 15 note 127 pressure 1|"
        "b2 5b 03=control change channel 2 controller 91 value 3|"
        "c3 05=program change channel 3 program 5|d4 06=channel pressure channel 4 pressure 6|"
        "e5 7f 7f=pitch bend channel 5 value 16383|f1 35=time code quarter frame 53|"
        "f2 01 01=song position 129|f3 02=song select 2|f6=tune request|f8=clock|fa=start|"
        "fb=continue|fc=stop|fe=active sensing|ff=reset|f4=undefined|fd=undefined|91 3c=incomplete|"
        "f0 01 f7=system exclusive 3 bytes|f0 01=system exclusive begins 2 bytes|"
        "01 02 03=system exclusive continues 3 bytes|01 f7=system exclusive ends 2 bytes|"
        "f7=system exclusive ends 1 bytes");
    for (std::string row; std::getline(table, row, '|');) {
        const std::string hex = row.substr(0, row.find('='));
        std::istringstream numbers(hex);
        numbers >> std::hex;
        bytes message;
        for (unsigned byte; numbers >> byte;)
            message.push_back(std::uint8_t(byte));
        const std::string line = midimon::line(3142, message.data(), message.size());
        EXPECT_EQ(line, "3.142 " + hex + ' ' + row.substr(hex.size() + 1));
    }
    const std::uint8_t stop = 0xFC;
    EXPECT_EQ(midimon::line(4294967005u, &stop, 1), "4294967.005 fc stop");
}

} // namespace

#include "tools/midimon/describe.h"

#include "midi/message.h"

#include <cstdio>

namespace midimon {

namespace {

using std::to_string;

std::string describe_channel_message(const std::uint8_t* bytes, std::size_t length) {
    const std::string channel = " channel " + to_string(bytes[0] & 0x0F);
    const int data1 = bytes[1], data2 = length > 2 ? bytes[2] : 0;
    switch (bytes[0] & 0xF0) {
    case 0x80:
        return "note off" + channel + " note " + to_string(data1) + " velocity " + to_string(data2);
    case 0x90:
        return "note on" + channel + " note " + to_string(data1) + " velocity " + to_string(data2);
    case 0xA0:
        return "key pressure" + channel + " note " + to_string(data1) + " pressure " + to_string(data2);
    case 0xB0:
        return "control change" + channel + " controller " + to_string(data1) + " value " + to_string(data2);
    case 0xC0:
        return "program change" + channel + " program " + to_string(data1);
    case 0xD0:
        return "channel pressure" + channel + " pressure " + to_string(data1);
    default:
        return "pitch bend" + channel + " value " + to_string(data1 | data2 << 7);
    }
}

std::string describe_system_message(const std::uint8_t* bytes) {
    switch (bytes[0]) {
    case 0xF1:
        return "time code quarter frame " + to_string(bytes[1]);
    case 0xF2:
        return "song position " + to_string(bytes[1] | bytes[2] << 7);
    case 0xF3:
        return "song select " + to_string(bytes[1]);
    case 0xF6:
        return "tune request";
    case 0xF8:
        return "clock";
    case 0xFA:
        return "start";
    case 0xFB:
        return "continue";
    case 0xFC:
        return "stop";
    case 0xFE:
        return "active sensing";
    case 0xFF:
        return "reset";
    default:
        return "undefined";
    }
}

} // namespace

std::string describe(const std::uint8_t* bytes, std::size_t length) {
    const bool begins = bytes[0] == midi::sysex_begin, ends = bytes[length - 1] == midi::sysex_end;
    if (begins || ends || bytes[0] < 0x80) {
        const char* piece = begins ? (ends ? "" : "begins ") : (ends ? "ends " : "continues ");
        return std::string("system exclusive ") + piece + to_string(length) + " bytes";
    }
    if (length < midi::message_length(bytes[0])) return "incomplete";
    return bytes[0] < 0xF0 ? describe_channel_message(bytes, length) : describe_system_message(bytes);
}

std::string line(std::uint32_t milliseconds, const std::uint8_t* bytes, std::size_t length) {
    char text[32];
    std::snprintf(text, sizeof text, "%u.%03u", unsigned(milliseconds / 1000), unsigned(milliseconds % 1000));
    std::string all = text;
    for (std::size_t i = 0; i < length; ++i) {
        std::snprintf(text, sizeof text, " %02x", unsigned(bytes[i]));
        all += text;
    }
    return all + " " + describe(bytes, length);
}

} // namespace midimon

#include "app/options.h"

#include "support/capture.h"

#include <gtest/gtest.h>

#include <vector>

using namespace quenvarel;

namespace {

// The values that are read from arguments separated by blanks, '' for an empty one, or what is said instead.
std::string read(const char* line) {
    std::vector<std::string> words{"program"};
    std::istringstream in(line);
    for (std::string word; in >> word;)
        words.push_back(word == "''" ? "" : word);
    std::vector<const char*> arguments;
    for (const std::string& word : words)
        arguments.push_back(word.c_str());
    arguments.push_back(nullptr);
    options_t o;
    const test_support::capture errors(std::cerr);
    const options_result result = read_options(static_cast<int>(words.size()), arguments.data(), o);
    std::ostringstream read;
    read << o.channel << ' ' << o.program << ' ' << o.notebase << ' ' << o.velocity << ' ' << o.program_given;
    if (result == options_result::complete) read << ' ' << o.device << (o.by_places ? " by places" : "");
    if (o.soundfont) read << " font " << o.soundfont;
    if (int(o.says.labels) != 0 || !o.says.state)
        read << " labels " << int(o.says.labels) << " state " << o.says.state;
    switch (result) {
    case options_result::usage:
        return errors.text() + "usage";
    case options_result::unknown_option:
        return errors.text() + "list";
    case options_result::help:
        return errors.text() + "help";
    case options_result::version:
        return errors.text() + "version";
    default:
        return errors.text() + read.str();
    }
}

TEST(options, are_read_or_refused) {
    const struct {
        const char *arguments, *read;
    } cases[] = {
        {"synth", "1 0 36 127 0 synth"},
        {"-l 5 -n 4 -p 0 -c 2 synth -c", "2 0 4 5 1 synth"},
        {"-c 15 -p 127 -n 127 -l 127 a", "15 127 127 127 1 a"},
        {"-c 0x0f -p 017 -n 08 -l 9x a", "15 15 0 9 1 a"},
        {"-c '' a", "0 0 36 127 0 a"},
        {"-c -4294967290 a", "6 0 36 127 0 a"},
        {"-c 16 a", "16: channel number over.\n1 0 36 127 0"},
        {"-c -1 a", "4294967295: channel number over.\n1 0 36 127 0"},
        {"-c -4294967279 a", "17: channel number over.\n1 0 36 127 0"},
        {"-c 4294967296 a", "4294967295: channel number over.\n1 0 36 127 0"},
        {"-p 0x80 a", "128: pgmchg number over.\n1 0 36 127 0"},
        {"-n 128 a", "128: notebase value over.\n1 0 36 127 0"},
        {"-l 0200 a", "128: velocity value over.\n1 0 36 127 0"},
        {"--labels=off --labels=notes --state=off -c 2 a", "2 0 36 127 0 a labels 1 state 0"},
        {"--labels=typed --state=on --labels=off a", "1 0 36 127 0 a labels 2 state 1"},
        {"--labels=Off a", "--labels=Off: no such value.\nlist"},
        {"--state a", "--state: no such value.\nlist"},
        {"1 -c 99", "1 0 36 127 0 1"},
        {"-", "1 0 36 127 0 -"},
        {"-cc 3", "1 0 36 127 0 -cc"},
        {"-c 2 -5", "2 0 36 127 0 -5"},
        {"''", "1 0 36 127 0 "},
        {"-c -c -c", "usage"}, // "-c" is the value of the first, and the second has none
        {"-c 2", "usage"},
        {"--help", "help"},
        {"-c 2 --version synth", "version"},
        {"-c --help -p 5 synth", "0 5 36 127 1 synth"},
        {"synth --nonsense", "1 0 36 127 0 synth"},
        {"--nonsense synth", "--nonsense: no such option.\nlist"},
        {"-- synth", "--: no such option.\nlist"},
        {"--soundfont=a=b.sf2 synth", "1 0 36 127 0 synth font a=b.sf2"},
        {"--soundfont= synth", "--soundfont=: no such value.\nlist"},
        {"--helpful", "--helpful: no such option.\nlist"},
        {"--help=me", "--help=me: no such value.\nlist"},
        {"--keys=characters --keys=places synth", "1 0 36 127 0 synth by places"},
        {"--keys=places --keys=characters synth", "1 0 36 127 0 synth"},
        {"--keys=letters", "--keys=letters: no such value.\nlist"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(read(c.arguments), c.read) << c.arguments;
}

} // namespace

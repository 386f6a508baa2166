#include "app/options.h"

#include "libutils/report.h"

#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iomanip>
#include <limits>
#include <ostream>
#include <string>
#include <string_view>

namespace quenvarel {

namespace {

struct option_t {
    const char* name;
    std::uint32_t options_t::*value;
    std::uint32_t most;
    const char* complaint;
};

constexpr option_t known[] = {
    {"-c", &options_t::channel, 15, ": channel number over."},
    {"-p", &options_t::program, 127, ": pgmchg number over."},
    {"-n", &options_t::notebase, 127, ": notebase value over."},
    {"-l", &options_t::velocity, 127, ": velocity value over."},
};

const option_t* find_option(const char* argument) {
    for (const option_t& option : known)
        if (std::strcmp(option.name, argument) == 0) return &option;
    return nullptr;
}

struct long_option {
    const char* name;
    const char* value; // what stands after the equals sign, as the list shows it; nullptr for an option
                       // without a value
    const char* help;
    // complete where the option is taken, and unknown_option where the value is none of its values.
    options_result (*take)(options_t& options, const char* value);
};

// The values of an option, by their names.
template <class Value>
struct named_value {
    const char* name;
    Value value;
};
constexpr named_value<label_choice> labels[] = {
    {"typed", label_choice::typed}, {"notes", label_choice::notes}, {"off", label_choice::off}};
constexpr named_value<bool> on_or_off[] = {{"on", true}, {"off", false}};

template <class Value, std::size_t Count>
options_result choose(std::string_view name, const named_value<Value> (&values)[Count], Value& chosen) {
    for (const named_value<Value>& each : values) {
        if (name != each.name) continue;
        chosen = each.value;
        return options_result::complete;
    }
    return options_result::unknown_option;
}

constexpr long_option long_options[] = {
    {"--help", nullptr, "how to call the program",
     [](options_t&, const char*) { return options_result::help; }},
    {"--version", nullptr, "the version, and how to call the program",
     [](options_t&, const char*) { return options_result::version; }},
    {"--keys", "places|characters", "what decides which note a key plays (characters)",
     [](options_t& options, const char* value) {
         options.by_places = value == std::string_view("places");
         return options.by_places || value == std::string_view("characters") ? options_result::complete
                                                                             : options_result::unknown_option;
     }},
    {"--labels", "typed|notes|off", "what is written on the keys (typed)",
     [](options_t& options, const char* value) { return choose(value, labels, options.says.labels); }},
    {"--state", "on|off", "whether a line says how the instrument is set (on)",
     [](options_t& options, const char* value) { return choose(value, on_or_off, options.says.state); }},
    {"--input", "NAME",
     "a MIDI input that plays along: a number or a part of its name; --input=list lists them",
     [](options_t& options, const char* value) {
         if (std::strcmp(value, "list") == 0) return options_result::inputs;
         options.inputs.push_back(value);
         return options_result::complete;
     }},
    {"--soundfont", "FILE", "the SoundFont that FluidSynth plays",
     [](options_t& options, const char* value) {
         options.soundfont = value;
         return *value ? options_result::complete : options_result::unknown_option;
     }},
};

bool is_long(const char* argument) {
    return std::strncmp(argument, "--", 2) == 0;
}

options_result take_long_option(const char* argument, options_t& options) {
    const std::string_view word = argument;
    const std::string_view name = word.substr(0, word.find('='));
    const char* const value = name.size() < word.size() ? argument + name.size() + 1 : nullptr;
    for (const long_option& option : long_options) {
        if (name != option.name) continue;
        const bool fits = (option.value != nullptr) == (value != nullptr);
        const options_result result = fits ? option.take(options, value) : options_result::unknown_option;
        if (result == options_result::unknown_option) libutils::report(argument, ": no such value.");
        return result;
    }
    libutils::report(argument, ": no such option.");
    return options_result::unknown_option;
}

std::uint32_t to_number(const char* text) {
    errno = 0;
    const unsigned long long wide = std::strtoull(text, nullptr, 0);
    if (errno == ERANGE) return std::numeric_limits<std::uint32_t>::max();
    while (std::isspace(static_cast<unsigned char>(*text)))
        ++text;
    const bool negative = *text == '-';
    const unsigned long long magnitude = negative ? 0 - wide : wide;
    if (magnitude > std::numeric_limits<std::uint32_t>::max())
        return std::numeric_limits<std::uint32_t>::max();
    return static_cast<std::uint32_t>(wide);
}

} // namespace

options_result read_options(int argc, const char* const* argv, options_t& options) {
    int at = 1;
    while (at < argc) {
        if (is_long(argv[at])) {
            const options_result result = take_long_option(argv[at], options);
            if (result != options_result::complete) return result;
            ++at;
            continue;
        }
        const option_t* option = find_option(argv[at]);
        if (!option) {
            options.device = argv[at];
            return options_result::complete;
        }
        if (at + 1 == argc) break;
        const std::uint32_t value = to_number(argv[at + 1]);
        if (value > option->most) {
            libutils::report(value, option->complaint);
            return options_result::refused;
        }
        options.*option->value = value;
        if (option->value == &options_t::program) options.program_given = true;
        at += 2;
    }
    return options_result::usage;
}

void list_options(std::ostream& out) {
    out << "options before the device:\n";
    for (const long_option& option : long_options) {
        std::string word = option.name;
        if (option.value) word = word + '=' + option.value;
        out << "  " << std::left << std::setw(26) << word << ' ' << option.help << '\n';
    }
}

} // namespace quenvarel

#include "tools/command_line/command_line.h"

#include "libutils/number.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <ostream>

namespace tool {

namespace {

constexpr option common_options[] = {{"--help", "", "this help"}, {"--version", "", "the version"}};
constexpr std::size_t width = 80;

bool is_option(std::string_view word) {
    const std::size_t at = word.find_first_not_of('-');
    if (at == 0 || at > 2) return false; // also without any other character
    const char c = word[at];
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

const option* find(std::span<const option> table, std::string_view name) {
    for (const std::span<const option> rows : {table, std::span<const option>(common_options)})
        for (const option& row : rows)
            if (row.name == name) return &row;
    return nullptr;
}

std::string list_of(std::span<const option> table) {
    std::string list;
    for (const option& row : table)
        list.append(list.empty() ? "" : ", ").append(row.name);
    return list.append(list.empty() ? "" : ", ").append("--help and --version");
}

// "mm|cm|m" as "mm, cm or m".
std::string choices(std::string_view values) {
    std::string list(values);
    for (std::size_t at = list.find('|'); at != list.npos; at = list.find('|', at))
        list.replace(at, 1, list.find('|', at + 1) == list.npos ? " or " : ", ");
    return list;
}

bool is_choice(std::string_view values, std::string_view value) {
    for (;;) {
        const std::size_t end = values.find('|');
        if (values.substr(0, end) == value) return true;
        if (end == values.npos) return false;
        values.remove_prefix(end + 1);
    }
}

} // namespace

const char* command_line::value(std::string_view name) const {
    const auto found = std::find_if(options.rbegin(), options.rend(),
                                    [name](const given_option& o) { return o.row->name == name; });
    return found == options.rend() ? nullptr : found->value;
}

command_line parse(arguments words, std::span<const option> table, operands where) {
    using wish = command_line::wish;
    command_line line;
    const auto wrong = [&](std::string complaint) {
        line.wanted = wish::wrong_usage;
        line.complaint = std::move(complaint);
        return line;
    };
    bool options_over = false;
    for (std::size_t at = 0; at < words.size(); ++at) {
        const std::string_view word = words[at];
        if (options_over || !is_option(word)) {
            if (!options_over && word == "--") {
                options_over = true;
                continue;
            }
            line.operands.push_back(words[at]);
            options_over = options_over || where == operands::last;
            continue;
        }
        const std::size_t equals = word.find('=');
        const std::string name = word == "-h" ? "--help" : std::string(word.substr(0, equals));
        const option* const row = find(table, name);
        if (!row) return wrong("there is no option " + name + "; there are " + list_of(table) + '.');
        const char* value = equals == word.npos ? nullptr : words[at] + equals + 1;
        if (row->value.empty()) {
            if (value) return wrong(name + " takes no value.");
            value = "";
        } else if (!value) {
            if (++at == words.size()) return wrong(name + " takes " + choices(row->value) + '.');
            value = words[at];
        }
        if (name == "--help" || name == "--version") {
            line.wanted = name == "--help" ? wish::help : wish::version;
            return line;
        }
        if (row->value.find('|') != row->value.npos && !is_choice(row->value, value))
            return wrong(name + " takes " + choices(row->value) + '.');
        line.options.push_back({row, value});
    }
    return line;
}

std::optional<std::uint64_t> whole_number(std::string_view text) {
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) return {};
    return value;
}

bool numbers(const char* text, std::span<float> values) {
    for (std::size_t i = 0; i < values.size(); ++i) {
        const char* const end = libutils::read_float(text, values[i]);
        if (end == text || *end != (i + 1 < values.size() ? ',' : '\0') || !std::isfinite(values[i]))
            return false;
        text = end + 1;
    }
    return true;
}

std::optional<float> number(const char* text) {
    float value = 0.0f;
    if (!numbers(text, {&value, 1})) return {};
    return value;
}

void print_options(std::ostream& os, std::span<const option> table) {
    const auto call = [](const option& row) {
        std::string text = row.name == "--help" ? "-h, --help" : std::string(row.name);
        if (!row.value.empty()) text.append(1, ' ').append(row.value);
        return text;
    };
    constexpr std::size_t most = 26; // longer ones have a line of their own
    std::size_t widest = 0;
    for (const std::span<const option> rows : {table, std::span<const option>(common_options)})
        for (const option& row : rows)
            if (const std::size_t size = call(row).size(); size <= most) widest = std::max(widest, size);
    const std::size_t indent = widest + 4;
    os << "Options:\n";
    for (const std::span<const option> rows : {table, std::span<const option>(common_options)})
        for (const option& row : rows) {
            const std::string text = call(row);
            os << "  " << text;
            if (text.size() > most)
                os << '\n' << std::string(indent, ' ');
            else
                os << std::string(indent - 2 - text.size(), ' ');
            print_filled(os, row.help, indent, indent);
        }
}

std::string_view program_version() {
    return QUENVAREL_VERSION;
}

void print_version(std::ostream& os, std::string_view program) {
    os << program << " (Quenvarel) " << program_version() << '\n';
}

void print_filled(std::ostream& os, std::string_view text, std::size_t indent, std::size_t column) {
    std::size_t at_line = column;
    bool begun = false; // whether a word is on the line
    const auto end_line = [&] {
        os << '\n';
        at_line = 0;
        begun = false;
    };
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        if (line.empty() || line.front() == ' ') {
            if (begun) end_line();
            os << line << '\n';
            continue;
        }
        for (std::size_t at = 0; at < line.size();) {
            const std::string_view word = line.substr(at, line.find(' ', at) - at);
            at += word.size() + 1;
            if (begun && at_line + 1 + word.size() > width) end_line();
            if (begun) {
                os << ' ';
                ++at_line;
            } else if (at_line < indent) {
                os << std::string(indent - at_line, ' ');
                at_line = indent;
            }
            os << word;
            at_line += word.size();
            begun = true;
        }
    }
    if (begun) end_line();
}

} // namespace tool

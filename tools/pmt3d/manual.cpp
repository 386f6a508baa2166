#include "manual.h"

#include <algorithm>
#include <ostream>
#include <string>
#include <string_view>

namespace tool {

namespace {

// Text as the page's language takes it. A line of it must not begin with a dot or a quote by chance.
std::string escaped(std::string_view text) {
    std::string out;
    for (const char c : text) {
        if (c == '\\')
            out += "\\e";
        else if (c == '-')
            out += "\\-";
        else
            out += c;
    }
    return out.starts_with('.') || out.starts_with('\'') ? "\\&" + out : out;
}

// Lines that begin with a blank stay as they are, an empty line ends a paragraph, as in the help.
void print_details(std::ostream& os, std::string_view text) {
    bool verbatim = false;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        const bool now = line.starts_with(' ');
        if (now != verbatim) os << (now ? ".PP\n.EX\n" : ".EE\n");
        if (line.empty())
            os << ".PP\n";
        else
            os << escaped(line) << '\n';
        verbatim = now;
    }
    if (verbatim) os << ".EE\n";
}

void print_option(std::ostream& os, const option& row) {
    os << ".TP\n.B " << escaped(row.name);
    if (!row.value.empty()) os << " \\fI" << escaped(row.value) << "\\fR";
    os << '\n' << escaped(row.help) << ".\n";
}

// The words that are to be completed, between blanks.
std::string names(std::span<const option> options) {
    std::string list;
    for (const option& row : options)
        list.append(row.name).append(" ");
    return list + "--help --version";
}

// "info FILE | convert IN OUT": the first words; nothing where the operands are no choice.
std::string actions(std::string_view operands) {
    if (operands.find('|') == operands.npos) return {};
    std::string list;
    for (;;) {
        const std::string_view one = operands.substr(0, operands.find('|'));
        const std::size_t begin = std::min(one.find_first_not_of(' '), one.size());
        list.append(list.empty() ? "" : " ").append(one.substr(begin, one.find(' ', begin) - begin));
        if (one.size() == operands.size()) return list;
        operands.remove_prefix(one.size() + 1);
    }
}

} // namespace

void print_manual(std::ostream& os, const command_table& table) {
    os << ".\\\" Written by pmt3d --man.\n.TH PMT3D 1 \"\" \"Quenvarel " << program_version()
       << "\" \"User Commands\"\n"
          ".SH NAME\npmt3d \\- inspect, check, convert and draw models and pictures\n.SH SYNOPSIS\n"
          ".B pmt3d\n.RI [ option ...]\n.I subcommand\n.RI [ argument ...]\n.br\n"
          ".B pmt3d\n.I subcommand\n.B \\-\\-help\n.SH DESCRIPTION\n"
          "Works on the model files (.pmt) from which\n.BR quenvarel (1)\n"
          "draws its keys, on models of other programs, and on texture pictures.\n"
          "An option's value follows it as the next word or after an equals sign;\n"
          "\\-\\- ends the options.\nEvery subcommand has\n"
          ".B \\-\\-help\n(\\-h) and\n.BR \\-\\-version .\n"
          ".SH OPTIONS\n";
    for (const option& row : table.options)
        print_option(os, row);
    os << ".SH SUBCOMMANDS\n";
    for (const subcommand* s : table.subcommands) {
        os << ".SS " << s->name << " \\- " << escaped(s->summary) << '\n'
           << ".B pmt3d " << s->name << (s->options.empty() ? "" : " \\fR[\\fIoption\\fR...]") << " \\fI"
           << escaped(s->operands) << "\\fR\n";
        for (const option& row : s->options)
            print_option(os, row);
        os << ".PP\n";
        print_details(os, s->details);
    }
    os << ".SH EXIT STATUS\n0 done, 1 failed, 2 wrong usage.\n.SH SEE ALSO\n.BR quenvarel (1)\n";
}

void print_completion(std::ostream& os, const command_table& table) {
    os << "# Completes pmt3d's command lines in bash. Written by pmt3d --completion.\n"
          "_pmt3d() {\n"
          "  local word=${COMP_WORDS[COMP_CWORD]} before= command= actions= words= options= at\n"
          "  ((COMP_CWORD)) && before=${COMP_WORDS[COMP_CWORD - 1]}\n"
          "  # --name=value is three words here.\n"
          "  if [[ $word == = ]]; then word=; elif [[ $before == = ]]; then before=${COMP_WORDS[COMP_CWORD - "
          "2]}; fi\n"
          "  for ((at = 1; at < COMP_CWORD; ++at)); do\n"
          "    case ${COMP_WORDS[at]} in\n";
    for (const option& row : table.options)
        if (!row.value.empty())
            os << "    " << row.name << ") ((++at)); [[ ${COMP_WORDS[at]} == = ]] && ((++at)) ;;\n";
    os << "    -*) ;;\n    *) command=${COMP_WORDS[at]}; break ;;\n    esac\n  done\n"
          "  case $command in\n";
    std::string all;
    for (const subcommand* s : table.subcommands) {
        all.append(s->name).append(" ");
        os << "  " << s->name << ") options='" << names(s->options) << "' actions='" << actions(s->operands)
           << "' ;;\n";
    }
    os << "  *) options='" << names(table.options) << "' actions='" << all << "' at=$COMP_CWORD ;;\n  esac\n"
       << "  case $command,$before in\n";
    for (const subcommand* s : table.subcommands)
        for (const option& row : s->options) {
            if (row.value.find('|') == row.value.npos) continue;
            std::string words(row.value);
            std::replace(words.begin(), words.end(), '|', ' ');
            os << "  " << s->name << ',' << row.name << ") words='" << words << "' ;;\n";
        }
    os << "  *)\n"
          "    if [[ $word == -* ]]; then words=$options\n"
          "    elif ((COMP_CWORD <= at + 1)); then words=$actions; fi ;;\n"
          "  esac\n"
          "  COMPREPLY=($(compgen -W \"$words\" -- \"$word\"))\n"
          "}\n"
          "complete -o default -F _pmt3d pmt3d\n";
}

} // namespace tool

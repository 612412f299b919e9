#include "options/manual.h"

#include "options/option_table.h"

#include <zr_support/config.h>

#include <algorithm>
#include <string_view>

namespace NoisePreview {

namespace {

/// A text as man wants it: hyphens that can be copied, and none of its signs taken for a command.
std::string Roff(std::string_view text) {
    std::string roff;
    for (const char c : text) {
        roff += c == '-' ? "\\-" : c == '\\' ? "\\e" : c == '^' ? "\\(ha" : std::string(1, c);
    }
    return roff;
}

/// The words of an option's form if it has a choice of them, with blanks between; or nothing.
std::string WordsOf(const COption& option) {
    const std::string_view form = option.m_Form != nullptr ? option.m_Form : "";
    const bool isChoice = form.find('|') != std::string_view::npos &&
                          std::none_of(form.begin(), form.end(), [](char c) { return 'A' <= c && c <= 'Z'; });
    std::string words(isChoice ? form : "");
    std::replace(words.begin(), words.end(), '|', ' ');
    return words;
}

bool IsFile(const COption& option) {
    return option.m_Form != nullptr && std::string_view(option.m_Form).starts_with("FILE");
}

/// How Bash is to complete what follows an option.
std::string CaseOf(const COption& option) {
    const std::string words = WordsOf(option);
    const std::string reply =
        IsFile(option)   ? "compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- \"$word\"); "
        : !words.empty() ? "mapfile -t COMPREPLY < <(compgen -W '" + words + "' -- \"$word\"); "
                         : "";
    return std::string("    ") + option.m_Name + ") " + reply + "return ;;\n";
}

constexpr const char* kExamples = R"(.SH EXAMPLES
.TP
.B noise_preview \-\-shade gradient \-\-output hills.png
a slice of the field as a surface in the light
.TP
.B noise_preview \-\-animate 4 \-\-turn\-seconds 4 \-\-colours magma \-\-output moving.webp
four seconds of the field as its values turn, which loop without a seam
.TP
.B noise_preview \-\-compare qualities \-\-shade gradient \-\-size 400x400 \-\-output compared.png
where the qualities differ
.TP
.B noise_preview \-\-positions points.csv \-\-output samples.npy
the field at the positions in a file
.SH EXIT STATUS
0 if all was written, 2 for options that make no sense, 1 for whatever else went wrong, about which there is a line
on standard error. Nothing is at the name of the output then but what was there before, unless all that is missing is
the report on standard output. A run that is interrupted leaves nothing either.
.SH ENVIRONMENT
.TP
.B TERM, COLORTERM, NO_COLOR, LC_ALL, LC_CTYPE, LANG
what standard output can show, if it is a terminal and no output is named
.TP
.B TMPDIR
the folder for what is on its way to standard output; /tmp without it
)";

} // namespace

std::string ManPage(const std::string& summary) {
    std::string page = ".TH NOISE_PREVIEW 1 \"\" \"Vestrel noise " VESTREL_VERSION_STRING "\"\n"
                       ".SH NAME\nnoise_preview \\- draws a noise field\n"
                       ".SH SYNOPSIS\n.B noise_preview\n[\\fIOPTION\\fR]...\n"
                       ".SH DESCRIPTION\n" +
                       Roff(summary) + "\n.SH OPTIONS\n";
    for (const COption& option : OptionTable()) {
        const std::string form = option.m_Form != nullptr ? " \\fI" + Roff(option.m_Form) + "\\fR" : "";
        page += ".TP\n\\fB" + Roff(option.m_Name) + "\\fR" + form + "\n" + Roff(option.m_Description) + "\n";
    }
    return page + ".TP\n\\fB\\-\\-help\\fR\nPrint what the options are, and do nothing else.\n" +
           ".TP\n\\fB\\-\\-version\\fR\nPrint the version, and do nothing else.\n" + kExamples;
}

std::string BashCompletion() {
    std::string names = "--help --version";
    std::string cases;
    for (const COption& option : OptionTable()) {
        names += std::string(" ") + option.m_Name;
        cases += option.m_Form != nullptr ? CaseOf(option) : "";
    }
    return "_noise_preview() {\n"
           "  local word=${COMP_WORDS[COMP_CWORD]} option=${COMP_WORDS[COMP_CWORD - 1]}\n"
           "  if [[ $word == = ]]; then # --quality=cubic is three words to Bash\n"
           "    word=\n"
           "  elif [[ $option == = ]]; then\n"
           "    option=${COMP_WORDS[COMP_CWORD - 2]}\n"
           "  fi\n"
           "  COMPREPLY=()\n"
           "  case $option in\n" +
           cases +
           "  esac\n"
           "  mapfile -t COMPREPLY < <(compgen -W '" +
           names +
           "' -- \"$word\")\n"
           "}\n"
           "complete -F _noise_preview noise_preview\n";
}

} // namespace NoisePreview

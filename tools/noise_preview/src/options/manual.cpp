#include "options/manual.h"

#include "options/option_table.h"

#include <zr_support/config.h>

#include <string_view>

namespace NoisePreview {

namespace {

/// Escapes a text for man: hyphens that can be copied, and no character taken for a command.
std::string Roff(std::string_view text) {
    std::string roff;
    for (const char c : text) {
        roff += c == '-' ? "\\-" : c == '\\' ? "\\e" : c == '^' ? "\\(ha" : std::string(1, c);
    }
    return roff;
}

bool IsFile(const COption& option) {
    return std::string_view(option.m_Metavar).starts_with("FILE");
}

/// The case of a Bash script that completes an option's value.
std::string CaseOf(const COption& option) {
    std::string words;
    for (const std::string& word : WordsOf(option)) {
        words += (words.empty() ? "" : " ") + word;
    }
    const std::string reply =
        IsFile(option)   ? "compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- \"$word\"); "
        : !words.empty() ? "mapfile -t COMPREPLY < <(compgen -W '" + words + "' -- \"$word\"); "
                         : "";
    const std::string shortName = option.m_ShortName != nullptr ? std::string(option.m_ShortName) + "|" : "";
    return "    " + shortName + option.m_Name + ") " + reply + "return ;;\n";
}

constexpr const char* kExamples = R"(.SH EXAMPLES
.TP
.B noise_preview \-\-shade gradient \-\-output hills.png
a slice of the field as a lit surface
.TP
.B noise_preview \-\-animate 4 \-\-turn\-seconds 4 \-\-colours magma \-\-output moving.webp
an animation of four seconds that loops without a jump
.TP
.B noise_preview \-\-compare qualities \-\-shade gradient \-\-size 400x400 \-\-output compared.png
the qualities side by side
.TP
.B noise_preview \-\-positions points.csv \-\-output samples.npy
the field at the positions in a file
.SH EXIT STATUS
0 on success, 2 for options that make no sense, 1 for any other failure; each failure prints a line on standard error
and leaves the output as it was (the exception: if only the report on standard output fails, the new output is in
place). A run that is interrupted leaves nothing behind.
.SH ENVIRONMENT
.TP
.B TERM, COLORTERM, NO_COLOR, LC_ALL, LC_CTYPE, LANG
whether a terminal can show the picture, without \-\-output
.TP
.B TMPDIR
the folder for the temporary file of \-\-output \-; /tmp by default
)";

} // namespace

std::string ManPage(const std::string& summary) {
    std::string page = ".TH NOISE_PREVIEW 1 \"\" \"Vestrel noise " VESTREL_VERSION_STRING "\"\n"
                       ".SH NAME\nnoise_preview \\- draws a noise field\n"
                       ".SH SYNOPSIS\n.B noise_preview\n[\\fIOPTION\\fR]...\n"
                       ".SH DESCRIPTION\n" +
                       Roff(summary) + "\n.SH OPTIONS\n";
    for (const COption& option : OptionTable()) {
        const std::string shortName =
            option.m_ShortName != nullptr ? "\\fB" + Roff(option.m_ShortName) + "\\fR, " : "";
        const std::string metavar =
            option.m_Metavar != nullptr ? " \\fI" + Roff(option.m_Metavar) + "\\fR" : "";
        page += ".TP\n" + shortName + "\\fB" + Roff(option.m_Name) + "\\fR" + metavar + "\n" +
                Roff(Description(option)) + "\n";
    }
    return page + ".TP\n\\fB\\-\\-help\\fR\nPrint the options and exit.\n" +
           ".TP\n\\fB\\-\\-version\\fR\nPrint the version and exit.\n" + kExamples;
}

std::string BashCompletion() {
    std::string names = "--help --version";
    std::string cases;
    for (const COption& option : OptionTable()) {
        names += std::string(" ") + option.m_Name;
        cases += option.m_Metavar != nullptr ? CaseOf(option) : "";
    }
    return "_noise_preview() {\n"
           "  local word=${COMP_WORDS[COMP_CWORD]} option=${COMP_WORDS[COMP_CWORD - 1]}\n"
           "  if [[ $word == = ]]; then # Bash splits --quality=cubic into three words\n"
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

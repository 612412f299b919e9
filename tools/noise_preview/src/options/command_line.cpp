#include "options/command_line.h"

#include "options/hint.h"
#include "options/manual.h"
#include "options/option_rules.h"
#include "options/option_table.h"
#include "options/usage_error.h"
#include "text.h"

#include <zr_support/config.h>

#include <CLI/CLI.hpp>

#include <iostream>
#include <memory>
#include <sstream>
#include <vector>

namespace NoisePreview {

namespace {

constexpr const char* kSummary = "Draws a picture or an animation of a noise field, or writes its samples.";

/// Breaks a text into lines of at most `width` characters where it can.
std::string Wrapped(const std::string& text, size_t width) {
    std::istringstream words(text);
    std::string lines;
    size_t column = 0;
    for (std::string word; words >> word;) {
        const bool fits = column == 0 || column + 1 + word.size() <= width;
        lines += column == 0 ? "" : fits ? " " : "\n";
        column = fits && column > 0 ? column + 1 + word.size() : word.size();
        lines += word;
    }
    return lines;
}

/// Help that fits into 80 columns.
class CHelpFormatter final : public CLI::Formatter {
private:
    std::string make_option_opts(const CLI::Option* option) const override {
        return option->get_type_name().empty() ? "" : " " + option->get_type_name();
    }

    std::string make_option_desc(const CLI::Option* option) const override {
        return Wrapped(option->get_description(), 79 - get_column_width());
    }
};

CLI::Option* AddOption(CLI::App& app, const COption& option, COptions& options) {
    const std::string names =
        (option.m_ShortName != nullptr ? std::string(option.m_ShortName) + "," : "") + option.m_Name;
    if (option.m_Metavar == nullptr) {
        const auto parse = [&] { ParseOption(option, "", options); };
        return app.add_flag_callback(names, parse, Description(option))->disable_flag_override();
    }
    const auto parse = [&](const std::string& text) {
        if (text.empty() || text.starts_with("--")) {
            Refuse(option.m_Name, std::string("its value is missing: ") + option.m_Metavar);
        }
        ParseOption(option, text, options);
    };
    return app.add_option_function<std::string>(names, parse, Description(option))
        ->type_name(option.m_Metavar)
        ->expected(0, 1) // so that the message about a missing value is ours
        ->take_last();
}

void AddOptions(CLI::App& app, COptions& options) {
    for (const COption& option : OptionTable()) {
        CLI::Option* const added = AddOption(app, option, options);
        if (option.m_Needed != nullptr) {
            added->needs(app.get_option(option.m_Needed));
        }
    }
}

/// For packages, and hidden from the help.
void AddManuals(CLI::App& app, std::string& manual) {
    app.add_flag_callback("--print-man-page", [&] { manual = ManPage(kSummary); })->group("");
    app.add_flag_callback("--print-bash-completion", [&] { manual = BashCompletion(); })->group("");
}

[[noreturn]] void RefuseUnknown(const std::string& word) {
    if (!word.starts_with('-')) {
        throw CUsageError("'" + word + "' belongs to no option");
    }
    const std::string name = word.substr(0, word.find('='));
    throw CUsageError("there is no option '" + name + "'" + Hint(name, OptionNames()));
}

std::string FailureLine(const std::string& reason) {
    return Printable("noise_preview: " + reason + " (--help explains the options)") + '\n';
}

} // namespace

std::optional<CJob> ParseCommandLine(int argumentCount, char** arguments, int& exitCode) {
    COptions options;
    std::string manual;
    CLI::App app(kSummary, "noise_preview");
    app.formatter(std::make_shared<CHelpFormatter>());
    app.failure_message([](const CLI::App*, const CLI::Error& error) { return FailureLine(error.what()); });
    app.set_version_flag("--version", "noise_preview " VESTREL_VERSION_STRING, "Print the version and exit");
    app.allow_extras(); // for RefuseUnknown, which gives hints
    AddOptions(app, options);
    AddManuals(app, manual);
    try {
        app.parse(argumentCount, arguments);
        if (const std::vector<std::string> unknown = app.remaining(); !unknown.empty()) {
            RefuseUnknown(unknown.front());
        }
        if (manual.empty()) {
            return Resolve(options);
        }
        std::cout << manual;
        exitCode = 0;
    } catch (const CUsageError& error) {
        std::cerr << FailureLine(error.what());
        exitCode = 2;
    } catch (const CLI::ParseError& error) {
        exitCode = app.exit(error) == 0 ? 0 : 2;
    }
    if (!std::cout.flush()) {
        std::cerr << "noise_preview: the help cannot be written to standard output\n";
        exitCode = 1;
    }
    return std::nullopt;
}

} // namespace NoisePreview

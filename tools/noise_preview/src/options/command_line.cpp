#include "options/command_line.h"

#include "options/manual.h"
#include "options/option_rules.h"
#include "options/option_table.h"
#include "options/refusal.h"
#include "options/unknown_option.h"
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

/// Breaks a text into lines of at most `width` characters.
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
    if (option.m_Form == nullptr) {
        const auto parse = [&] { option.m_Parse("", options); };
        return app.add_flag_callback(option.m_Name, parse, option.m_Description)->disable_flag_override();
    }
    const auto parse = [&](const std::string& text) {
        if (text.empty() || text.starts_with("--")) {
            Refuse(option.m_Name, std::string("its value is missing: ") + option.m_Form);
        }
        option.m_Parse(text, options);
    };
    return app.add_option_function<std::string>(option.m_Name, parse, option.m_Description)
        ->type_name(option.m_Form)
        ->expected(0, 1) // so that a value that is missing is said as above
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

/// For whoever builds a package; not in the help.
void AddManuals(CLI::App& app, std::string& manual) {
    app.add_flag_callback("--print-man-page", [&] { manual = ManPage(kSummary); })->group("");
    app.add_flag_callback("--print-bash-completion", [&] { manual = BashCompletion(); })->group("");
}

/// One line about what is wrong.
std::string FailureLine(const std::string& reason) {
    return Printable("noise_preview: " + reason + " (--help explains the options)") + '\n';
}

} // namespace

std::optional<COptions> ParseCommandLine(int argumentCount, char** arguments, int& exitCode) {
    COptions options;
    std::string manual;
    CLI::App app(kSummary, "noise_preview");
    app.formatter(std::make_shared<CHelpFormatter>());
    app.failure_message([](const CLI::App*, const CLI::Error& error) { return FailureLine(error.what()); });
    app.set_version_flag("--version", "noise_preview " VESTREL_VERSION_STRING, "Print the version and exit");
    app.allow_extras(); // RefuseUnknown says more about them
    AddOptions(app, options);
    AddManuals(app, manual);
    try {
        app.parse(argumentCount, arguments);
        if (const std::vector<std::string> unknown = app.remaining(); !unknown.empty()) {
            RefuseUnknown(unknown.front());
        }
        if (manual.empty()) {
            CompleteOptions(options, [&](const std::string& name) { return app.count(name) > 0; });
            return options;
        }
        std::cout << manual;
        exitCode = 0;
    } catch (const CRefusal& refusal) {
        std::cerr << FailureLine(refusal.what());
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

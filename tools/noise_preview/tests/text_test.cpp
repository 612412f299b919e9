#include "noise_preview_run.h"

namespace {

struct CText {
    std::string m_Bytes;
    std::string m_Shown;
};

/// The bounds of all ranges of UTF-8, and what is just beyond them.
const CText kTexts[] = {
    {"a~ z", "a~ z"},
    {"\x01\x1F\x7F\n\x1B[31m", "?????[31m"},
    {"\u00A0\u00E9\u07FF\u0800\uD7FF\uE000\uFFFD\U00010000\U0010FFFF",
     "\u00A0\u00E9\u07FF\u0800\uD7FF\uE000\uFFFD\U00010000\U0010FFFF"},
    {"a\xC2\x80z\xC2\x9B\x33\x31m\xC2\x9F", "a?z?31m?"},
    // The introducer of control sequences, U+009B, as one byte and overlong.
    {"\x9Bm \xC0\x9Bm \xC1\x9Bm \xC2\x1Bm \xE0\x82\x9Bm \xF0\x80\x82\x9Bm", "?m ?m ?m ??m ?m ?m"},
    {"\xE0\x9F\xBF \xF0\x8F\xBF\xBF \xC1\xBF", "? ? ?"},             // overlong
    {"\xED\xA0\x80 \xED\xBF\xBF", "? ?"},                            // surrogates
    {"\xF4\x90\x80\x80 \xF5\x80\x80\x80 \xF8\x90\x80\x80", "? ? ?"}, // beyond U+10FFFF
    {"\xC3z \xE2\x82z \xF0\x9F\x98z \xE2(\x82 \xFFz \xBFz", "?z ?z ?z ?(? ?z ?z"},
};

TEST_F(NoisePreview, MessagesShowNoControlCharacters) {
    for (const CText& text : kTexts) {
        ExpectFailure("--output 'none/" + text.m_Bytes + ".png'",
                      "'none/" + text.m_Shown + ".png' cannot be written: ");
    }
    // Truncated at the end of the text.
    ExpectUsageError("--format '\xE2\x82'", "?");
}

TEST_F(NoisePreview, ReportsShowNoControlCharacters) {
    for (const CText& text : kTexts) {
        const CResult result = Run("--size 5x5 --output '" + text.m_Bytes + ".png'");
        EXPECT_EQ(result.m_Output.find(text.m_Shown + ".png: 25 positions, "), 0u) << result.m_Output;
    }
}

TEST_F(NoisePreview, LongTextsAreCutBetweenCharacters) {
    // The limit of 40 bytes falls within the euro sign.
    std::ofstream(m_Folder / "p.csv") << "1\n" << std::string(39, '?') << "\u20ACuro\n";
    ExpectFailure("--positions p.csv", "line 2: '" + std::string(39, '?') + "...' is not a number");
}

} // namespace

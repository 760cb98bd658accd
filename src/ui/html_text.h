// What a person reads of a payment server's HTML where no browser shows it (the headless
// driver, a stalled script's report), and the part of it that a browser view is given.
// Both are linear in the length of the text and read markup that is not well formed as far
// as it makes sense; neither ever fetches or runs anything. Text is Windows-1252.
#pragma once

#include <string>
#include <string_view>

namespace ccaddin {

class Control;

// The document's words: tags and comments left out, script and style elements dropped
// with their content, the common character references decoded, every run of blanks (and
// each paragraph, line or cell break) shown as one blank.
[[nodiscard]] std::string HtmlToPlainText(std::string_view html);

// What an operator reads of a control's text: an HTML view's document as plain text, any
// other control's text as it is.
[[nodiscard]] std::string ShownText(const Control& control);

// The document without its script elements, cut to at most lMaxBytes bytes.
[[nodiscard]] std::string HtmlWithoutScripts(std::string_view html, size_t lMaxBytes);

}  // namespace ccaddin

// RtfPlainText: the text a reader sees in a rich text body, as plain UTF-8
// with CR LF line ends.  Outlook keeps some messages only as rich text (the
// body libpff decompresses); their documents get this text.
//
// Only what carries text is read: paragraphs, line breaks and tabs, the
// characters written raw, as "\'xx" in the document's code page (\ansicpg,
// Windows-1252 without one) or as "\uN" with its stand-ins skipped.  Font,
// colour and style tables, pictures, objects, document information, field
// instructions and every destination marked "\*" are passed over, and so is
// the rich-text-only markup of a body that was converted from HTML
// (\htmlrtf).  Groups nest at most kDeepest deep; deeper ones are skipped.
#pragma once

#include <string>
#include <string_view>

inline constexpr int kRtfDeepestGroup = 256;

std::string RtfPlainText(std::string_view rtf);

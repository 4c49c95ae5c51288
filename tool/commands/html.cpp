#include "commands/html.h"

#include <algorithm>
#include <vector>

#include "basics/digest.h"
#include "basics/text.h"
#include "keep/describe.h"
#include "picture/picture.h"

namespace vemra::tool {

namespace {

// The ground behind a picture is checkered, so that its transparent parts show.
constexpr const char* page_start = R"(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<meta name="color-scheme" content="light dark">
<meta http-equiv="Content-Security-Policy"
      content="default-src 'none'; img-src data:; style-src 'unsafe-inline'">
<title>Stamps</title>
<style>
:root { --page: #f6f6f4; --card: #fff; --line: #d8d8d4; --text: #222; --soft: #666;
        --light: #fff; --dark: #dcdcd8; }
@media (prefers-color-scheme: dark) {
    :root { --page: #1b1c1e; --card: #26282b; --line: #3c3f43; --text: #eaeaea; --soft: #a4a7ab;
            --light: #c9c9c6; --dark: #adadaa; }
}
* { box-sizing: border-box; }
body { margin: 0; padding: 2rem; background: var(--page); color: var(--text);
       font: 1rem/1.45 system-ui, "Noto Sans", "Noto Sans CJK SC", sans-serif; }
h1 { margin: 0 0 1.5rem; font-size: 1.4rem; font-weight: 600; }
main { display: grid; gap: 1.5rem; grid-template-columns: repeat(auto-fill, minmax(17rem, 1fr)); }
figure { margin: 0; border: 1px solid var(--line); border-radius: .6rem; overflow: hidden;
         background: var(--card); break-inside: avoid; }
.ground { display: flex; align-items: center; justify-content: center; height: 17rem;
          padding: 1rem; background: repeating-conic-gradient(var(--dark) 0 25%, var(--light) 0 50%)
          0 0 / 1.25rem 1.25rem; print-color-adjust: exact; -webkit-print-color-adjust: exact; }
.ground img { max-width: 100%; max-height: 100%; }
.ground p { margin: 0; padding: .4rem .8rem; border-radius: .4rem; background: var(--card);
            color: var(--soft); }
figcaption { padding: .9rem 1rem 1rem; }
.name { font-weight: 600; overflow-wrap: anywhere; }
.facts { color: var(--soft); font-size: .85rem; overflow-wrap: anywhere; }
@media print {
    :root { --page: #fff; --card: #fff; --line: #bbb; --text: #000; --soft: #444;
            --light: #fff; --dark: #e2e2de; }
    body { padding: 0; }
    main { grid-template-columns: repeat(2, 1fr); }
}
</style>
</head>
<body>
)";

std::string _escaped(const std::string& text) {
    std::string safe;
    for (const char letter : printable(text)) {
        switch (letter) {
            case '&':
                safe += "&amp;";
                break;
            case '<':
                safe += "&lt;";
                break;
            case '>':
                safe += "&gt;";
                break;
            case '"':
                safe += "&quot;";
                break;
            default:
                safe += letter;
        }
    }
    return safe;
}

std::string _picture(const stamp& one, const picture& seen) {
    if (one.data.empty()) return "<p>no bytes</p>";
    if (!seen.is_image()) return "<p>no picture: " + _escaped(seen.media_type) + "</p>";
    return "<img alt=\"" + _escaped(one.name) + "\" src=\"data:" + _escaped(seen.media_type) +
           ";base64," + base64(one.data.get()) + "\">";
}

std::string _figure(const stamp& one, const std::string& ground, const std::string& facts) {
    return "<figure>\n<div class=\"ground\">" + ground +
           "</div>\n<figcaption>\n<div class=\"name\">" + _escaped(one.name) +
           "</div>\n<div class=\"facts\">" + _escaped(describe(one.device)) +
           "</div>\n<div class=\"facts\">" + facts + "</div>\n</figcaption>\n</figure>\n";
}

std::string _card(const stamp& one) {
    const picture seen = look_at(one.data.get());
    const std::string size = seen.width && seen.height ? seen.pixels() + " pixels, " : "";
    return _figure(one, _picture(one, seen),
                   size + std::to_string(one.data.size()) + " bytes, " + _escaped(seen.media_type));
}

std::string _card_of_unreadable(const stamp& one) {
    return _figure(one, "<p>cannot be read</p>", _escaped(one.fault));
}

std::string _count(const std::vector<stamp>& stamps) {
    if (stamps.empty()) return "No stamps";
    const auto unreadable = std::count_if(stamps.begin(), stamps.end(),
                                          [](const stamp& one) { return !one.is_readable(); });
    return std::to_string(stamps.size()) + (stamps.size() == 1 ? " stamp" : " stamps") +
           (unreadable == 0 ? "" : ", " + std::to_string(unreadable) + " cannot be read");
}

}  // namespace

std::string make_sheet(const held_stamps& held) {
    std::string page = page_start;
    page += "<h1>" + _count(held.stamps) + "</h1>\n";
    for (const std::string& error : held.errors) {
        page += "<p>" + _escaped(error) + "</p>\n";
    }
    page += "<main>\n";
    for (const stamp& one : held.stamps) {
        page += one.is_readable() ? _card(one) : _card_of_unreadable(one);
    }
    return page + "</main>\n</body>\n</html>\n";
}

}  // namespace vemra::tool

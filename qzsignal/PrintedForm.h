// How printed forms get into a stream: the same everywhere, whatever locales the program has set.
#pragma once

#include <locale>
#include <ostream>
#include <sstream>
#include <string>

namespace qzsignal {

// Collects text in the classic locale, whatever the global one is. Throws if memory runs out, so that no text is cut.
class TextStream : public std::ostringstream {
public:
    TextStream() {
        imbue(std::locale::classic());
        exceptions(badbit);
    }
};

// Writes the parts to `out` in one piece. They are formatted in the classic locale with the flags, precision and fill
// character of `out`, which gets flags and fill character as the parts leave them. A width that was set on `out` is not
// applied: it would pad the first part alone.
template <typename... Parts>
[[gnu::cold]] std::ostream& printForm(std::ostream& out, Parts const&... parts) {
    TextStream text;
    text.flags(out.flags());
    text.precision(out.precision());
    text.fill(out.fill());
    (text << ... << parts);
    out.flags(text.flags());
    out.fill(text.fill());
    out.width(0);
    std::string const form = text.str();
    return out.write(form.data(), static_cast<std::streamsize>(form.size()));
}

} // namespace qzsignal

// The grammar of LIN description files (LIN 1.3 to 2.2, ISO 17987, J2602).
#pragma once

#include "tools/definitions/Database.h"
#include "tools/definitions/ldf/LdfScanner.h"
#include "tools/definitions/ldf/LdfStatements.h"

#include <string>
#include <string_view>
#include <vector>

namespace qztool {

// Reads the elements of all sections. One that it does not understand is reported and costs no other: reading resumes
// at the next element, and no section continues past a line that begins the next one.
class LdfParser {
public:
    // `tokens` must outlive the parser, and the text that they refer to the result.
    LdfParser(std::vector<LdfToken> const& tokens, std::vector<Problem>& problems)
        : d_tokens(tokens), d_problems(problems) {}

    LdfFile read();

private:
    using Element = bool (LdfParser::*)();

    void readStatement();
    void readVersion();
    void readChannelName();
    void readSection(Element element, bool block);
    void readElements(Element element, bool block);
    void resume(std::size_t start, bool block);
    bool beginsElement(bool block) const;
    void skipStatement();

    bool signal();
    bool frame();
    bool diagnosticFrame();
    bool frameBody(LdfFrame& frame);
    bool frameFollows() const;
    bool place();
    bool sporadicFrame();
    bool eventFrame();
    bool table();
    bool slot();
    bool command() const;
    bool encoding();
    bool codedValue();
    bool physicalValue();
    bool logicalValue();
    bool representation();

    LdfToken const& token(std::size_t ahead = 0) const;
    bool isMark(char mark, std::size_t ahead = 0) const;
    bool atEnd() const { return token().kind == LdfTokenKind::End; }
    bool atSection() const;
    bool take(char mark);
    bool expect(char mark);
    bool end();
    bool name(std::string_view& result, char const* what);
    bool count(std::uint64_t& result, char const* what);
    bool real(double& result, char const* what);
    bool text(std::string_view& result, char const* what);
    bool fail(std::string cause);
    bool missing(std::string const& what);
    void report(std::size_t line, Severity severity, std::string text, ProblemKind kind = ProblemKind::Other);

    std::vector<LdfToken> const& d_tokens;
    std::vector<Problem>& d_problems;
    std::size_t d_position = 0;
    LdfFile d_file;
    std::string d_label; // the element that is being read, such as "signal 'Speed'"
    std::string d_cause; // why it was not understood
};

} // namespace qztool

// A condition over signals of definition files, as a text and as a program.
#pragma once

#include "qzsignal/expression/ExpParser.h"
#include "tools/base/Reporter.h"
#include "tools/drive/DefinitionSet.h"
#include "tools/moments/DerivedSignals.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace qztool {

// Used in three steps: `resolve`, then the caller builds the signals that `signals` names, then `compile`. Several
// conditions may share these signals and the derived ones. All that it refers to must outlive it, and signals must
// outlive those that are derived from them.
class Condition {
public:
    Condition(std::string text, DefinitionSet const& definitions, DerivedSignals& derived, Reporter& reporter)
        : d_text(std::move(text)), d_definitions(definitions), d_derivedSignals(derived), d_reporter(reporter) {}
    Condition(Condition const&) = delete;
    Condition& operator=(Condition const&) = delete;

    // Puts instance names in place of what else signals may be called. A name that is both that of a signal and a
    // derived one is the signal's, with a warning. False if a name may be that of several signals, which is reported.
    bool resolve();
    // Instance names of the signals whose values matter, each once, and names that no definition has. Signals of which
    // only words are named are not among them.
    std::vector<std::string> const& signals() const { return d_names; }

    enum class Compiled {
        Ready,
        BadText,   // see `error`
        NoSignals, // the text names none, or only words of value tables
        NotDefined // signals of these names are not there; reported
    };
    Compiled compile();
    // Why the text is not an expression. Its places are those in `text`.
    std::optional<ExpParser::Error> const& error() const { return d_error; }
    std::string const& text() const { return d_text; } // with instance names alone, from `resolve` on

    // The rest needs a program.

    // The time of the current frame, microseconds as recorded.
    void setTime(std::uint64_t now) { d_derivedSignals.setTime(now); }
    // True if every frame may change its value, as time passes.
    bool dependsOnTime() const { return d_dependsOnTime; }
    // True if a message may change its value; `message` is the key by which expressions know it.
    bool reads(std::uint64_t message) const { return d_program->signalMessageIds.count(message) != 0; }
    // All of its signals hold values: from then on, it is true or false.
    bool isWritten() {
        d_written = d_written || d_program->isWritten();
        return d_written;
    }
    // Its value is above 0.
    bool isTrue() { return d_program->getTrigger(); }
    // Names of its signals that hold no value.
    std::vector<std::string> unwritten() const;

private:
    std::string instanceOf(std::string const& name, bool& isAmbiguous);
    std::string derivedFrom(std::string const& name, bool& isAmbiguous);
    void collectNames();
    void reportUndefined(std::string const& name);

    std::string d_text;
    DefinitionSet const& d_definitions;
    DerivedSignals& d_derivedSignals;
    Reporter& d_reporter;
    std::vector<std::string> d_names;
    std::vector<DerivedName> d_derived;
    bool d_dependsOnTime = false;
    std::optional<ExpParser::Error> d_error;
    std::unique_ptr<ExpParser> d_program;
    bool d_written = false;
};

} // namespace qztool

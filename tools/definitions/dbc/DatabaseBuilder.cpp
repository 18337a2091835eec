// The checks of single statements, and the references between them.
#include "tools/definitions/dbc/DatabaseBuilder.h"

#include "tools/definitions/ProblemText.h"
#include "tools/definitions/dbc/MultiplexResolver.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace qztool {

namespace {

constexpr std::uint32_t extendedFlag = 0x80000000U;
constexpr std::uint32_t highestStandard = 0x7FFU;
constexpr std::uint32_t highestExtended = 0x1FFFFFFFU;

// The message under which tools file the signals that belong to none. One of its customary identifiers.
constexpr std::string_view independentName = "VECTOR__INDEPENDENT_SIG_MSG";
constexpr std::uint32_t independentIdentifier = 0xC0000000U;

bool isExtended(std::uint32_t identifier) {
    return identifier > highestStandard;
}

// Identifiers above 11 bits are extended with and without the flag, so both ways of writing them lead to one message.
std::uint32_t identifierKey(std::uint32_t identifier) {
    return isExtended(identifier) ? identifier | extendedFlag : identifier;
}

std::string place(std::string_view name, std::size_t line) {
    return quote(name) + " (line " + std::to_string(line) + ")";
}

SignalDefinition definitionOf(SignalStatement&& statement) {
    SignalDefinition definition;
    definition.name = statement.name;
    definition.line = statement.line;
    definition.kind = statement.isSigned ? NumberKind::Signed : NumberKind::Unsigned;
    definition.startBit = statement.startBit;
    definition.bits = statement.bits;
    definition.bigEndian = statement.bigEndian;
    definition.factor = statement.factor;
    definition.offset = statement.offset;
    definition.minimum = statement.minimum;
    definition.maximum = statement.maximum;
    definition.unit = std::move(statement.unit);
    return definition;
}

std::string label(MessageStatement const& statement) {
    std::string text = "BO_";
    if (statement.identifierRead)
        text += " " + std::to_string(statement.identifier);
    if (!statement.name.empty())
        text += " " + quote(statement.name);
    return text + ": ";
}

std::string label(SignalStatement const& statement) {
    return statement.name.empty() ? "SG_: " : "SG_ " + quote(statement.name) + ": ";
}

} // namespace

void DatabaseBuilder::report(std::size_t line, Severity severity, std::string text, ProblemKind kind) {
    d_problems.push_back({line, severity, std::move(text), kind});
}

void DatabaseBuilder::add(MessageStatement const& statement) {
    if (statement.name == independentName || statement.identifier == independentIdentifier) {
        addDraft(statement).leftOut = true;
        return;
    }
    if ((statement.identifier & ~extendedFlag) > highestExtended) {
        addUnread(statement, "the identifier has more than 29 bits");
        return;
    }
    auto const named = d_messageNames.find(statement.name);
    if (named != d_messageNames.end()) {
        addUnread(statement,
                  "duplicate message name, first defined on line " +
                      std::to_string(d_drafts[named->second].definition.line),
                  ProblemKind::Duplicate);
        return;
    }
    warnAboutIdentifier(statement);
    addDraft(statement);
    d_messageNames.emplace(statement.name, d_current);
}

void DatabaseBuilder::addUnread(MessageStatement const& statement, std::string const& cause, ProblemKind kind) {
    report(statement.line, Severity::Error, label(statement) + cause + "; left out with its signals", kind);
    addDraft(statement).leftOut = true;
}

void DatabaseBuilder::warnAboutIdentifier(MessageStatement const& statement) {
    if (isExtended(statement.identifier) && (statement.identifier & extendedFlag) == 0) {
        report(statement.line, Severity::Warning,
               label(statement) + "the identifier has more than 11 bits, but no extended flag; read as extended");
    }
    auto const sameIdentifier = d_firstOfIdentifier.find(identifierKey(statement.identifier));
    if (sameIdentifier == d_firstOfIdentifier.end())
        return;
    MessageDraft const& other = d_drafts[sameIdentifier->second];
    if (!other.leftOut) {
        report(statement.line, Severity::Warning,
               label(statement) + "message " + place(other.name, other.definition.line) +
                   " has the same identifier; both are kept",
               ProblemKind::Duplicate);
    }
}

// Files the message under its identifier even if it is left out, for the statements that refer to it.
MessageDraft& DatabaseBuilder::addDraft(MessageStatement const& statement) {
    d_current = d_drafts.size();
    MessageDraft& draft = d_drafts.emplace_back();
    draft.name = statement.name;
    MessageDefinition& definition = draft.definition;
    definition.name = statement.name;
    definition.line = statement.line;
    definition.length = statement.length;
    definition.extended = isExtended(statement.identifier);
    definition.address = statement.identifier & ~extendedFlag;
    if (statement.identifierRead) {
        auto const [entry, isNew] = d_firstOfIdentifier.emplace(identifierKey(statement.identifier), d_current);
        if (!isNew)
            draft.nextOfIdentifier = std::exchange(d_drafts[entry->second].nextOfIdentifier, d_current);
    }
    return draft;
}

void DatabaseBuilder::add(SignalStatement&& statement) {
    if (d_current == noMessage) {
        report(statement.line, Severity::Error, label(statement) + "it stands outside any message; left out");
        return;
    }
    MessageDraft& message = d_drafts[d_current];
    if (message.leftOut)
        return;
    if (SignalDraft const* const other = keptSignal(statement.name)) {
        addUnread(statement, "duplicate signal name, first defined on line " + std::to_string(other->definition.line),
                  ProblemKind::Duplicate);
        return;
    }
    if (statement.reach > std::uint64_t{message.definition.length} * 8) {
        report(statement.line, Severity::Warning,
               label(statement) + "it reaches beyond the " + std::to_string(message.definition.length) +
                   (message.definition.length == 1 ? " byte" : " bytes") + " of message " + quote(message.name),
               ProblemKind::Outside);
    }
    SignalDraft& draft = addDraft(statement);
    draft.definition = definitionOf(std::move(statement));
    if (draft.mark == MultiplexMark::Unnumbered) {
        report(draft.definition.line, Severity::Warning,
               "SG_ " + quote(draft.name) + ": marked m without a number; read as M, the multiplexor");
    }
}

void DatabaseBuilder::addUnread(SignalStatement const& statement, std::string const& cause, ProblemKind kind) {
    if (d_current != noMessage && d_drafts[d_current].leftOut)
        return;
    report(statement.line, Severity::Error, label(statement) + cause + "; left out", kind);
    if (d_current != noMessage && !statement.name.empty() && keptSignal(statement.name) == nullptr)
        addDraft(statement).leftOut = true;
}

// The signal of the current message that is kept under this name, if any.
SignalDraft const* DatabaseBuilder::keptSignal(std::string_view name) const {
    auto const found = d_signals.find({d_current, name});
    if (found == d_signals.end())
        return nullptr;
    SignalDraft const& signal = d_drafts[d_current].signals[found->second];
    return signal.leftOut ? nullptr : &signal;
}

SignalDraft& DatabaseBuilder::addDraft(SignalStatement const& statement) {
    std::vector<SignalDraft>& signals = d_drafts[d_current].signals;
    d_signals[{d_current, statement.name}] = signals.size();
    SignalDraft& draft = signals.emplace_back();
    draft.definition.line = statement.line;
    draft.name = statement.name;
    draft.mark = statement.mark;
    draft.selector = statement.selector;
    return draft;
}

void DatabaseBuilder::add(ValuesStatement&& statement) {
    if (!statement.ofEnvironmentVariable)
        d_values.push_back(std::move(statement));
}

void DatabaseBuilder::add(ValueTableStatement&& statement) {
    auto const [entry, isNew] = d_tables.try_emplace(statement.name);
    if (isNew) {
        entry->second = std::move(statement);
    } else {
        report(statement.line, Severity::Error,
               "VAL_TABLE_ " + quote(statement.name) + ": duplicate table name, first defined on line " +
                   std::to_string(entry->second.line) + "; left out",
               ProblemKind::Duplicate);
    }
}

void DatabaseBuilder::add(AttributeStatement const& statement) {
    bool const isCycle = statement.name == MessageAttributes::cycleTime;
    std::string const label = std::string(statement.reference.keyword) + " " + quote(statement.name) + ": ";
    std::string const cause = d_attributes.add(statement);
    if (!cause.empty())
        report(statement.reference.line, Severity::Error, label + cause + "; left out",
               isCycle ? ProblemKind::Cycle : ProblemKind::Other);
    else if (isCycle && statement.ofMessage && !statement.value.empty() && statement.value.front() == '-')
        report(statement.reference.line, Severity::Warning,
               label + "the cycle time " + quote(statement.value) + " is negative; not used", ProblemKind::Cycle);
}

Database DatabaseBuilder::finish() {
    joinAttributes();
    joinNumberTypes();
    joinSelections();
    joinValues();
    joinLongNames();
    Database database;
    for (MessageDraft& draft : d_drafts) {
        if (draft.leftOut)
            continue;
        resolveMultiplexing(draft, d_problems);
        MessageDefinition& message = database.messages.emplace_back(std::move(draft.definition));
        message.signals.reserve(draft.signals.size());
        std::vector<std::size_t> indices(draft.signals.size()); // of the drafts in the message
        for (std::size_t i = 0; i < draft.signals.size(); ++i) {
            SignalDraft& signal = draft.signals[i];
            if (!signal.leftOut) {
                indices[i] = message.signals.size();
                if (signal.definition.multiplexor)
                    signal.definition.multiplexor = indices[*signal.definition.multiplexor];
                message.signals.push_back(std::move(signal.definition));
            }
        }
    }
    database.problems = std::move(d_problems);
    std::stable_sort(database.problems.begin(), database.problems.end(),
                     [](Problem const& a, Problem const& b) { return a.line < b.line; });
    return database;
}

// Calls `use` with the index of every message of the identifier, left out or not. Returns false if there is none.
template <typename Use>
bool DatabaseBuilder::forEachMessage(std::uint32_t identifier, Use use) const {
    auto const first = d_firstOfIdentifier.find(identifierKey(identifier));
    if (first == d_firstOfIdentifier.end())
        return false;
    std::size_t index = first->second;
    do {
        use(index);
        index = d_drafts[index].nextOfIdentifier;
    } while (index != 0);
    return true;
}

// Calls `use` with every kept signal that the reference names; there may be several, as messages may share an
// identifier.
template <typename Use>
DatabaseBuilder::Target DatabaseBuilder::forEachSignal(Reference const& reference, Use use) {
    bool found = false;
    bool leftOut = reference.identifier == independentIdentifier;
    bool const anyMessage = forEachMessage(reference.identifier, [&](std::size_t index) {
        const auto signal = d_signals.find({index, reference.signal});
        if (d_drafts[index].leftOut) {
            leftOut = true;
        } else if (signal != d_signals.end()) {
            SignalDraft& draft = d_drafts[index].signals[signal->second];
            if (draft.leftOut) {
                leftOut = true;
            } else {
                found = true;
                use(draft);
            }
        }
    });
    if (found)
        return Target::Found;
    if (leftOut)
        return Target::LeftOut;
    return anyMessage ? Target::NoSignal : Target::NoMessage;
}

void DatabaseBuilder::reportReference(Reference const& reference, Severity severity, std::string const& text,
                                      ProblemKind kind) {
    report(reference.line, severity,
           std::string(reference.keyword) + " " + std::to_string(reference.identifier) + " " + quote(reference.signal) +
               ": " + text,
           kind);
}

// What was left out has been reported where it was left out.
void DatabaseBuilder::reportTarget(Reference const& reference, Target target) {
    if (target == Target::NoMessage) {
        reportReference(reference, Severity::Error, "there is no message with this identifier; left out");
    } else if (target == Target::NoSignal) {
        MessageDraft const& message = d_drafts[d_firstOfIdentifier[identifierKey(reference.identifier)]];
        reportReference(reference, Severity::Error,
                        "message " + quote(message.name) + " has no signal of this name; left out");
    }
}

void DatabaseBuilder::joinNumberTypes() {
    for (NumberTypeStatement const& statement : d_numberTypes) {
        Target const target =
            forEachSignal(statement.reference, [&](SignalDraft& signal) { joinNumberType(statement, signal); });
        reportTarget(statement.reference, target);
    }
}

void DatabaseBuilder::joinNumberType(NumberTypeStatement const& statement, SignalDraft& signal) {
    if (statement.type == 0)
        return;
    bool const isFloat = statement.type == 1;
    unsigned const bits = isFloat ? 32 : 64;
    if (signal.definition.bits == bits) {
        signal.definition.kind = isFloat ? NumberKind::Float : NumberKind::Double;
    } else {
        reportReference(statement.reference, Severity::Error,
                        std::string(isFloat ? "a float" : "a double") + " has " + std::to_string(bits) +
                            " bits, but the signal has " + std::to_string(signal.definition.bits) +
                            "; left out, the signal stays an integer");
    }
}

void DatabaseBuilder::joinSelections() {
    for (SelectionStatement const& statement : d_selections) {
        Target const target = forEachSignal(statement.reference, [&](SignalDraft& signal) {
            if (signal.selection != nullptr)
                reportReference(statement.reference, Severity::Error,
                                "line " + std::to_string(signal.selection->reference.line) +
                                    " says already what selects this signal; left out",
                                ProblemKind::Duplicate);
            else
                signal.selection = &statement;
        });
        reportTarget(statement.reference, target);
    }
}

void DatabaseBuilder::joinValues() {
    for (ValuesStatement& statement : d_values) {
        std::vector<ValueText> const* values = valuesOf(statement);
        if (values == nullptr) {
            reportReference(statement.reference, Severity::Error,
                            "there is no VAL_TABLE_ " + quote(statement.table) + "; left out");
            continue;
        }
        Target const target = forEachSignal(statement.reference, [&](SignalDraft& signal) {
            if (signal.valuesLine != 0) {
                reportReference(statement.reference, Severity::Error,
                                "line " + std::to_string(signal.valuesLine) +
                                    " gives this signal its values already; left out",
                                ProblemKind::Duplicate);
                return;
            }
            signal.valuesLine = statement.reference.line;
            if (values == &statement.values) {
                signal.definition.values = std::move(statement.values);
                values = &signal.definition.values; // for a further signal, which is rare
            } else {
                signal.definition.values = *values;
            }
        });
        reportTarget(statement.reference, target);
    }
}

std::vector<ValueText> const* DatabaseBuilder::valuesOf(ValuesStatement const& statement) const {
    if (statement.table.empty())
        return &statement.values;
    auto const table = d_tables.find(statement.table);
    return table == d_tables.end() ? nullptr : &table->second.values;
}

void DatabaseBuilder::joinAttributes() {
    for (MessageDraft& draft : d_drafts)
        d_attributes.applyDefaults(draft.definition);
    for (AttributeStatement const& statement : d_attributes.statements())
        forEachMessage(statement.reference.identifier,
                       [&](std::size_t index) { d_attributes.apply(statement, d_drafts[index].definition); });
}

// Tools write attributes for more than they export, so an attribute of something unknown is no problem.
void DatabaseBuilder::joinLongNames() {
    if (d_longNames.empty())
        return;
    SignalNames signalNames;
    for (auto const& [key, index] : d_signals)
        if (!d_drafts[key.message].signals[index].leftOut)
            signalNames.insert(key);
    for (LongNameStatement const& statement : d_longNames) {
        if (statement.name.empty())
            continue;
        if (statement.reference.signal.empty())
            renameMessages(statement);
        else
            renameSignals(statement, signalNames);
    }
}
void DatabaseBuilder::renameMessages(LongNameStatement const& statement) {
    forEachMessage(statement.reference.identifier, [&](std::size_t index) {
        MessageDraft& message = d_drafts[index];
        if (message.leftOut || statement.name == message.definition.name)
            return;
        if (!d_messageNames.emplace(statement.name, index).second) {
            report(statement.reference.line, Severity::Warning,
                   "the long name " + quote(statement.name) + " of message " + quote(message.name) +
                       " is the name of another message; the short name stays",
                   ProblemKind::Duplicate);
            return;
        }
        d_messageNames.erase(message.definition.name); // which may be a long one already
        message.definition.name = statement.name;
    });
}

void DatabaseBuilder::renameSignals(LongNameStatement const& statement, SignalNames& names) {
    const std::string_view shortName = statement.reference.signal;
    forEachMessage(statement.reference.identifier, [&](std::size_t index) {
        const auto found = d_signals.find({index, shortName});
        if (found == d_signals.end())
            return;
        SignalDraft& signal = d_drafts[index].signals[found->second];
        if (signal.leftOut || statement.name == signal.definition.name)
            return;
        if (!names.insert({index, statement.name}).second) {
            report(statement.reference.line, Severity::Warning,
                   "the long name " + quote(statement.name) + " of signal " + quote(shortName) +
                       " is the name of another signal of its message; the short name stays",
                   ProblemKind::Duplicate);
            return;
        }
        names.erase({index, signal.definition.name});
        signal.definition.name = statement.name;
    });
}

} // namespace qztool

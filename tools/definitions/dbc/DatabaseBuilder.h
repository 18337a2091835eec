// Makes a Database of the statements of a definition file: checks them, and joins those that refer to each other.
#pragma once

#include "tools/definitions/Database.h"
#include "tools/definitions/dbc/MessageAttributes.h"
#include "tools/definitions/dbc/MessageDraft.h"
#include "tools/definitions/dbc/Statements.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace qztool {

// Takes the statements in the order of the file. Statements may refer to what comes later: they are joined in `finish`.
class DatabaseBuilder {
public:
    void add(MessageStatement const& statement);
    void add(SignalStatement&& statement); // belongs to the message that was added last
    void add(NumberTypeStatement const& statement) { d_numberTypes.push_back(statement); }
    void add(SelectionStatement&& statement) { d_selections.push_back(std::move(statement)); }
    void add(ValuesStatement&& statement);
    void add(ValueTableStatement&& statement);
    void add(LongNameStatement&& statement) { d_longNames.push_back(std::move(statement)); }
    void add(AttributeStatement const& statement);
    void add(ChoicesStatement&& statement) { d_attributes.setFormats(std::move(statement.choices)); }
    // A message or signal that was not understood. What refers to it is left out without a report of its own.
    void addUnread(MessageStatement const& statement, std::string const& cause, ProblemKind kind = ProblemKind::Other);
    void addUnread(SignalStatement const& statement, std::string const& cause, ProblemKind kind = ProblemKind::Other);
    // Further signals belong to no message.
    void endMessage() { d_current = noMessage; }
    void report(std::size_t line, Severity severity, std::string text, ProblemKind kind = ProblemKind::Other);

    // To be called once, at the end.
    Database finish();

private:
    enum class Target { Found, LeftOut, NoMessage, NoSignal };
    struct SignalKey {
        std::size_t message;
        std::string_view name;
        bool operator==(SignalKey const& other) const { return message == other.message && name == other.name; }
    };
    struct SignalKeyHash {
        std::size_t operator()(SignalKey const& key) const {
            return std::hash<std::string_view>()(key.name) ^ (key.message * 0x9E3779B9U);
        }
    };
    static constexpr std::size_t noMessage = static_cast<std::size_t>(-1);

    using SignalNames = std::unordered_set<SignalKey, SignalKeyHash>;

    void warnAboutIdentifier(MessageStatement const& statement);
    MessageDraft& addDraft(MessageStatement const& statement);
    SignalDraft& addDraft(SignalStatement const& statement);
    SignalDraft const* keptSignal(std::string_view name) const;
    template <typename Use>
    bool forEachMessage(std::uint32_t identifier, Use use) const;
    template <typename Use>
    Target forEachSignal(Reference const& reference, Use use);
    void reportTarget(Reference const& reference, Target target);
    void reportReference(Reference const& reference, Severity severity, std::string const& text,
                         ProblemKind kind = ProblemKind::Other);
    void joinNumberTypes();
    void joinNumberType(NumberTypeStatement const& statement, SignalDraft& signal);
    void joinSelections();
    void joinValues();
    std::vector<ValueText> const* valuesOf(ValuesStatement const& statement) const;
    void joinAttributes();
    void joinLongNames();
    void renameMessages(LongNameStatement const& statement);
    void renameSignals(LongNameStatement const& statement, SignalNames& names);

    std::vector<MessageDraft> d_drafts;
    std::size_t d_current = noMessage;
    std::unordered_map<std::uint32_t, std::size_t> d_firstOfIdentifier; // under the key of the identifier, see the .cpp
    std::unordered_map<std::string_view, std::size_t> d_messageNames;   // accepted messages alone
    std::unordered_map<SignalKey, std::size_t, SignalKeyHash> d_signals; // index within the message
    std::unordered_map<std::string_view, ValueTableStatement> d_tables;
    std::vector<NumberTypeStatement> d_numberTypes;
    std::vector<SelectionStatement> d_selections;
    std::vector<ValuesStatement> d_values;
    std::vector<LongNameStatement> d_longNames;
    MessageAttributes d_attributes;
    std::vector<Problem> d_problems;
};

} // namespace qztool

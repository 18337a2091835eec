// Finds out which signal of a message selects which others.
#pragma once

#include "tools/definitions/dbc/MessageDraft.h"

#include <vector>

namespace qztool {

// Fills `isMultiplexor`, `multiplexor` (indices of drafts) and `selectedBy` of the message's signals from their marks
// and SG_MUL_VAL_ statements. Leaves out signals whose multiplexor is missing, left out or selected by themselves, and
// reports each. Brings the signals into an order in which a multiplexor precedes what it selects, else as they were.
void resolveMultiplexing(MessageDraft& message, std::vector<Problem>& problems);

} // namespace qztool

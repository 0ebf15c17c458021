#pragma once
// Values between request texts, OpEN arguments and answer members; shared
// by the engine and by the families' own routes.
#include <cjson/cJSON.h>

#include <cstdint>

#include "routes/engine/bind.h"
#include "routes/engine/slot.h"

namespace route {

int64_t choiceValue(const ChoiceTable &table, const char *text);
const char *choiceText(const ChoiceTable &table, uint64_t value);

// An integer as an answer member, printed as cJSON prints the double it
// makes (precision past 2^53 is lost as it always was).
constexpr uint64_t kDigitsExact = 1000000000000000;  // 10^15
cJSON *integerNumber(uint64_t value);
cJSON *integerNumber(int64_t value);

// Gives the slot a zero-filled buffer of `capacity` bytes (and one more, so
// that a text OpEN fills to the brim still ends) described to OpEN as `size`.
void allocateBuffer(Slot &slot, uint32_t capacity, uint32_t size);
// An input text cut to the buffer (capacity - 1 characters), described by the bind's rule.
int32_t fillText(const Bind &bind, const char *text, Slot &slot);
void prepareOutputBuffer(const Bind &bind, Slot &slot);
// The text OpEN left in a buffer, at most capacity - 1 characters; "" when there is none.
cJSON *bufferText(const Slot &slot);
cJSON *bufferHex(const Slot &slot);

// Adds one output to `data` (or to its `outObject` member) as the bind shows it.
void showValue(cJSON *data, const Bind &bind, const Slot &slot, const Slot *args);

}  // namespace route

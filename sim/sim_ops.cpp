// Buffer handling shared by every model's operations.
#include "sim/sim_ops.h"

#include <cstring>

open_error_t putText(open_buffdesc *desc, const std::string &text) {
  if (desc == nullptr || desc->pstart == nullptr || text.size() + 1 > desc->size) return OPEN_E_PARAM;
  memcpy(desc->pstart, text.c_str(), text.size() + 1);
  desc->size = static_cast<uint32_t>(text.size() + 1);
  return OPEN_E_NONE;
}

std::string inputText(const open_buffdesc *desc) {
  if (desc == nullptr || desc->pstart == nullptr) return "";
  return std::string(desc->pstart, strnlen(desc->pstart, desc->size));
}

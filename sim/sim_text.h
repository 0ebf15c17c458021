#pragma once
// Texts between the simulated operations and OpEN buffer descriptors.
#include <cstring>
#include <string>

#include "open/openapi.h"

// A real switch refuses an output buffer that cannot take the whole text.
inline open_error_t putText(open_buffdesc *desc, const std::string &text) {
  if (desc == nullptr || desc->pstart == nullptr || text.size() + 1 > desc->size) return OPEN_E_PARAM;
  memcpy(desc->pstart, text.c_str(), text.size() + 1);
  desc->size = static_cast<uint32_t>(text.size() + 1);
  return OPEN_E_NONE;
}

// An input text, never read past its described size.
inline std::string inputText(const open_buffdesc *desc) {
  if (desc == nullptr || desc->pstart == nullptr) return "";
  return std::string(desc->pstart, strnlen(desc->pstart, desc->size));
}

#pragma once
// The control protocol between opensimctl and opensimd, and the state file.
//
// A control request is one JSON line {"ctl": command, ...}; the answer is
// {"ok": true, ...} or {"ok": false, "error": text}. Commands:
//   "ping"                                    is a daemon listening?
//   "reset"                                   default switch, no scripts, empty call log
//   "fault"  "op", "rc", optional "count"     the next count calls of op answer rc
//   "stub"   "op", "answer", optional "count" the next count calls of op answer `answer`
//   "faultClear"                              removes every fault and stub
//   "calls"                                   answers "calls": the call log, one line per call
//   "callsClear"                              empties the call log
//   "dump"                                    answers "state": the whole state
//   "load"   "state"                          replaces the state, or changes nothing
//   "save"                                    writes the state file
// Without "count" a script applies to every call.
#include <cjson/cJSON.h>

#include <string>

#include "sim/dispatch.h"

// Answers one control request (one JSON line without the newline).
// `statePath` is the daemon's --state file, empty when it has none.
std::string controlAnswer(SimDispatcher &dispatcher, const cJSON *request, const std::string &statePath);

// Reads and parses a JSON file: the caller owns the tree; NULL with `error`
// naming the file and the problem.
cJSON *readJsonFile(const std::string &path, std::string &error);
// Replaces the switch state from the file: 0, or -1 with `error`; the state is
// unchanged on failure.
int loadStateFile(SimDispatcher &dispatcher, const std::string &path, std::string &error);
// Writes the state beside the file and renames it over, so that a crash
// leaves either the old or the new state whole.
int saveStateFile(SimDispatcher &dispatcher, const std::string &path, std::string &error);

#pragma once
// The SNMP family's shared rules: how its routes read keys and answer, the
// texts they hand to OpEN, and the enumerations more than one group of
// routes uses. Everything here has internal linkage, so that each table's
// row check stays a constant expression.
#include "routes/engine/engine.h"

namespace snmp {

constexpr const char *kDir = "/api/v2/monitoring/snmp";

// Keys of DELETE and GET routes come from the request data (the query
// string), found as queryParamValue finds them and read with strtoul.
constexpr route::Family kSnmp{
    kDir, "snmp", &route::kRequestDataUnsigned,
    "The switch's SNMP agent: who may query it and what they see (communities, groups, views, SNMPv3 users and "
    "engine identifiers), where its notifications go (hosts, trap managers, trap flags and filters), and the "
    "system name, contact and location it reports. Tables are walked with their get-next routes from an empty key."};

// Creates, deletes and sets write every outcome as a line.
constexpr route::Answering kWrite{&kSnmp, route::Mapping::OpenRc, AnswerStyle::Line, AnswerStyle::Line,
                                  AnswerStyle::Line};
// Gets and walks write their answer as it is, failures included; only a
// walk's body that does not parse is refused as a line.
constexpr route::Answering kRead{&kSnmp, route::Mapping::OpenRc, AnswerStyle::Line, AnswerStyle::Data,
                                 AnswerStyle::Data};

// Most texts: a 256-byte buffer, at most 255 characters, described as the
// text's length plus one (1 for an absent key); as an output, 256.
constexpr route::BufferKind kText{256, route::SizeRule::LengthPlusOne, nullptr};
// View and filter names: 30 characters.
constexpr route::BufferKind kViewName{31, route::SizeRule::LengthPlusOne, nullptr};
// OID subtrees of walks and lookups: 128 characters.
constexpr route::BufferKind kOidTree{129, route::SizeRule::LengthPlusOne, nullptr};

// An unknown model goes out as 0, which prints as "any".
constexpr route::ChoiceTable kSecurityModel =
    route::choicesOf<OPEN_SNMP_SECURITY_MODEL_t>(false, OPEN_SNMP_SECURITY_MODEL_ANY, "any");
// An unknown level goes out as 1: no authentication, no privacy.
constexpr route::ChoiceTable kSecurityLevel =
    route::choicesOf<OPEN_SNMP_SECURITY_LEVEL_t>(false, OPEN_SNMP_SECURITY_LEVEL_NOAUTHNOPRIV, "noauthnopriv");
// Only "enable" exactly enables; only 1 prints as enabled.
constexpr route::ChoiceTable kEnableMode = route::choicesOf<OPEN_CONTROL_t>(false, OPEN_DISABLE, "disable");

}  // namespace snmp

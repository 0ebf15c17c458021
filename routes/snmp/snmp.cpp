// SNMP: who may reach the agent, its users and engine identifiers, and
// where it sends notifications.
#include "routes/families.h"
#include "routes/snmp/snmp.h"

void snmpRoutesRegister(httpdTable *table) {
  snmp::accessRoutesRegister(table);
  snmp::usersRoutesRegister(table);
  snmp::notificationsRoutesRegister(table);
}

#include "routes/families.h"

void registerAllRoutes(httpdTable *table) {
  instruRoutesRegister(table);
  sflowRoutesRegisterFirst(table);
  snmpRoutesRegister(table);
  statsRoutesRegister(table);
  sflowRoutesRegisterRest(table);
  lldpRoutesRegister(table);
  mirrorRoutesRegister(table);
}

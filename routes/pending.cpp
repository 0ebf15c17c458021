// Families whose route tables have not been built yet register nothing, so
// that main already calls every family in its final order.
#include "routes/families.h"

void sflowRoutesRegisterFirst(httpdTable *) {}
void snmpRoutesRegister(httpdTable *) {}
void sflowRoutesRegisterRest(httpdTable *) {}
void lldpRoutesRegister(httpdTable *) {}
void mirrorRoutesRegister(httpdTable *) {}

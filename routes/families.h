#pragma once
#include "cgi/httpd.h"

// One registration function per route family, called by main in this order:
// instrumentation, sFlow (first part), SNMP, statistics, sFlow (rest), LLDP,
// mirror and session.
void instruRoutesRegister(httpdTable *table);
void sflowRoutesRegisterFirst(httpdTable *table);
void snmpRoutesRegister(httpdTable *table);
void statsRoutesRegister(httpdTable *table);
void sflowRoutesRegisterRest(httpdTable *table);
void lldpRoutesRegister(httpdTable *table);
void mirrorRoutesRegister(httpdTable *table);

// Every family in that order.
void registerAllRoutes(httpdTable *table);

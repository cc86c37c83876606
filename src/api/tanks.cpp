// Tanks: configuration, the last reading, a fresh reading, and the strapping table (whose
// calls go to the server even for ID -1).
#include "api/frame.h"
#include "proxies/ITank.h"

using namespace kvapi;

KV_LOOKUP_PAIRS(Tanks, Tank, Tank)

KV_PAIR(GetTankProperties, FAMILY_CALLS,
        (long id, long* number, char* name, long* gradeId, double* capacity, double* gaugeCapacity,
         long* gaugeNumber, long* portId),
        (id, number, name, gradeId, capacity, gaugeCapacity, gaugeNumber, portId),
        p.Tank()->Get(id, number, OutStr(r, name), gradeId, OutCur(capacity), OutCur(gaugeCapacity), gaugeNumber,
                      portId))
KV_PAIR(SetTankProperties, FAMILY_CALLS,
        (long id, long number, const char* name, long gradeId, double capacity, double gaugeCapacity,
         long gaugeNumber, long portId),
        (id, number, name, gradeId, capacity, gaugeCapacity, gaugeNumber, portId),
        p.Tank()->Set(id, number, GetStr(name), gradeId, Cur(capacity), Cur(gaugeCapacity), gaugeNumber, portId))
KV_PAIR(GetTankStatus, FAMILY_CALLS,
        (long id, double* productLevel, double* waterLevel, double* temperature, double* grossVolume,
         double* waterVolume, double* ullage, double* netVolume, short* gaugeState, short* alarms,
         short* responding),
        (id, productLevel, waterLevel, temperature, grossVolume, waterVolume, ullage, netVolume, gaugeState,
         alarms, responding),
        p.Tank()->GetStatus(id, OutCur(productLevel), OutCur(waterLevel), OutCur(temperature),
                            OutCur(grossVolume), OutCur(waterVolume), OutCur(ullage), OutCur(netVolume),
                            gaugeState, alarms, responding))
KV_PAIR(ReadTank, FAMILY_CALLS, (long id), (id),
        p.Tank()->Read(id))
KV_PAIR(GetTankStrappingTableSize, FAMILY_CALLS, (long id, long* size), (id, size),
        p.Tank()->GetStrappingTableSize(id, size))
KV_PAIR(GetTankStrappingPoint, FAMILY_CALLS, (long id, long index, double* level, double* volume),
        (id, index, level, volume),
        p.Tank()->GetStrappingPoint(id, index, OutCur(level), OutCur(volume)))
KV_PAIR(SetTankStrappingPoint, FAMILY_CALLS, (long id, long index, double level, double volume),
        (id, index, level, volume),
        p.Tank()->SetStrappingPoint(id, index, Cur(level), Cur(volume)))
KV_PAIR(ClearTankStrappingTable, FAMILY_CALLS, (long id), (id),
        p.Tank()->ClearStrappingTable(id))

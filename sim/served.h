// The server side of the forecourt interfaces: one class per interface, holding that
// class's objects, with one method per row of the interface's table (src/proxies/*.h).
// ProcessCall dispatches through KV_SERVER_DISPATCH over the same table the proxies are
// built from, so the wire contract exists once. By-reference arguments arrive as pointers,
// null when the caller does not want the value.
#pragma once
#include <cstdint>
#include "rpc/process.h"
#include "rpc/serverif.h"
#include "sim/forecourt.h"
#include "sim/objects.h"
#include "sim/records.h"

// The constructor and ProcessCall of a served interface (defined by KV_SIM_PROCESS_CALL).
#define KV_SIM_IFACE(Class, Object)               \
    Class(CForecourt& fc, CProcess* process);     \
    long ProcessCall(short function, Object* object, CSocket* socket) override;

namespace sim {

template <class T, uint16_t Type>
class CSimIface : public CServerInterface<T> {
public:
    CSimIface(CForecourt& fc, CProcess* process) : CServerInterface<T>(process, nullptr, 0), _fc(fc) {}
    uint16_t ObjectType() const override { return Type; }
    uint16_t InterfaceVersion() const override { return 0; }
    // The objects, for the forecourt's own walks.
    CObjectList<T, T>& List() { return this->_objects; }
    // The client number of the request being served; 0 for the forecourt itself.
    long Caller() const { return this->Process() ? this->Process()->CallingClientID() : 0; }

protected:
    CForecourt& _fc;
};

// An interface whose rows are its record's Get and Set alone.
#define KV_SIM_RECORD_IFACE(Class, Object, Type, Rec)  \
    class Class : public CSimIface<Object, Type> {      \
    public:                                             \
        KV_SIM_IFACE(Class, Object)                     \
        KV_SIM_GET(Get, Rec)                            \
        KV_SIM_SET(Set, Rec)                            \
    };

class CPumpsIf : public CSimIface<CSimPump, IF_PUMP> {
public:
    KV_SIM_IFACE(CPumpsIf, CSimPump)

    KV_SIM_GET(Get, PumpRecord)
    KV_SIM_SET(Set, PumpRecord)
    long GetHosesCount(CSimPump* p, long* count);
    long GetHoseByNumber(CSimPump* p, long number, long* hoseId);
    long GetStatus(CSimPump* p, short* state, short* hose, long* deliveryId, long* reserveClient, short* reserveType,
                   long* attendantId, CStr* stateText, CStr* errorText, short* level, CCur* volume, CCur* money,
                   CCur* price, short* errorCode);
    long GetDeliveryProperties(CSimPump* p, short index, long* id, short* hose, short* state, long* gradeId,
                               short* type, long* lockOwner, CStr* gradeName, CStr* hoseName, short* level,
                               CCur* volume, CCur* money, CCur* price, long* reserveClient, long* attendantId,
                               long* tankId, CDate* when, long* presetType);
    long UpdateState(CSimPump* p, short state, short hose, const CCur& volume, const CCur& money, const CCur& price);
    long LogDelivery(CSimPump* p, short hose, short presetType, const CCur& presetValue, short level,
                     const CCur& volume, const CCur& money, const CCur& price, const CCur& volumeTotal,
                     const CCur& moneyTotal);
    long PrepayReserve(CSimPump* p, long client);
    long PrepayCancel(CSimPump* p, long client);
    long PrepayAuthorise(CSimPump* p, long client, short type, const CCur& value, short level, short hose);
    long PreauthReserve(CSimPump* p, long client);
    long PreauthCancel(CSimPump* p, long client);
    long PreauthAuthorise(CSimPump* p, long client, short type, const CCur& value, short level, short hose);
    long LoadPreset(CSimPump* p, short type, const CCur& value, short level, short hose);
    long AttendantAuthorise(CSimPump* p, long attendantId);
    long Authorise(CSimPump* p);
    long CancelAuthorise(CSimPump* p);
    long TempStop(CSimPump* p);
    long ReAuthorise(CSimPump* p);
    long TerminateDelivery(CSimPump* p);
    long StackCurrentDelivery(CSimPump* p);
    long GetDeliveryPropertiesEx(CSimPump* p, short index, long* id, short* hose, short* state, long* gradeId,
                                 short* type, long* lockOwner, CStr* gradeName, CStr* hoseName, short* level,
                                 CCur* volume, CCur* money, CCur* price, long* reserveClient, long* attendantId,
                                 long* tankId, CDate* when, long* presetType, CCur* volBefore, CCur* volAfter,
                                 CCur* moneyBefore, CCur* moneyAfter, CCur* authorised, CCur* refund,
                                 long long* tag, long* clearedBy, long* cardClientId, CCur* presetValue);
    KV_SIM_GET(GetEx, PumpRecord)
    KV_SIM_SET(SetEx, PumpRecord)
    long LogDriverError(CSimPump* p, long code, const CStr& text);
    long TagReadEvent(CSimPump* p, long long tag, short reader, const CStr& text);
    long KVTermPromptEvent(CSimPump* p, short key, short field, const CStr& text);
    long LogRawStatus(CSimPump* p, short code, short previous, short channel);
    long TagAuthorise(CSimPump* p, long long tag, short type, const CCur& value, short level, short hose);
    long LoadPresetWithPrice(CSimPump* p, short type, const CCur& value, short level, short hose, const CCur& price);
    long SetDefaultPriceLevel(CSimPump* p, short level);
    long GetDefaultPriceLevel(CSimPump* p, short* level);
    long GetDensity(CSimPump* p, CCur* density);
    long DisablePump(CSimPump* p);
    long EnablePump(CSimPump* p);
    long GetStatusEx(CSimPump* p, long* number, CStr* name, long* tankId, short* state, short* hose,
                     long* deliveryId, long* reserveClient, long* reserveType, long* attendantId, long* hoseId,
                     long* gradeId, CStr* stateText, CStr* errorText, short* level, CCur* volume, CCur* money,
                     CCur* price, short* errorCode, long long* tag, long* cardClientId, long* paymentRef,
                     CStr* paymentText, long long* cardNumber, long* lockOwner, long* deliveryState,
                     CStr* attendantName, long long* extTransaction, CCur* presetValue, CCur* authorised);
    long ScheduleBeep(CSimPump* p, short a1, short a2, short a3, short a4, short a5, short a6, short a7, short a8,
                      short a9, short a10);
    long FlashLEDS(CSimPump* p, short a1, short a2);
    long PaymentReserve(CSimPump* p, long client, const CStr& text);
    long PaymentCancel(CSimPump* p, long client, const CStr& text);
    long PaymentAuthorise(CSimPump* p, long reference, const CStr& text, long cardClientId, long long cardNumber,
                          long client, long long extTransaction, short a7, long long a8, short a9, short a10,
                          short hose, const CCur& a12, short type, const CCur& value, short level,
                          const CCur& price, const CCur& a17, const CStr& a18, const CStr& a19, const CStr& a20,
                          const CStr& a21);
    long ExternalStartDelivery(CSimPump* p, long hose, long reference);
    long ExternalEndDelivery(CSimPump* p, long hose, const CCur& volume, const CCur& money, short level,
                             const CCur& price, const CCur& volumeTotal, const CCur& moneyTotal,
                             long long extTransaction, long long cardNumber, long cardClientId, long paymentRef);
    long KVTermPrompt(CSimPump* p, long client, short a1, short a2, short a4, short a5, short a6, short a7,
                      short a8, short a9, short a10, short a11, short a12, const CStr& text);
};

class CHosesIf : public CSimIface<CSimHose, IF_HOSE> {
public:
    KV_SIM_IFACE(CHosesIf, CSimHose)

    KV_SIM_GET(Get, HoseRecord)
    KV_SIM_SET(Set, HoseRecord)
    long GetHosesCount(long* count, long pumpId, long gradeId, long tankId);
    long GetHoseByOrdinal(long ordinal, long* id, long pumpId, long gradeId, long tankId);
    long GetTotals(CSimHose* h, CCur* volume, CCur* money, CCur* prevVolume, CCur* prevMoney);
    long SaveETotals(CSimHose* h, const CCur& volume, const CCur& money);
    long SetETotals(CSimHose* h, const CCur& volume, const CCur& money);
    long GetPrice(CSimHose* h, short level, CCur* price);
    long SetPrice(CSimHose* h, short level, const CCur& price);

    CSimHose* Match(long ordinal, long pumpId, long gradeId, long tankId, long* count);
};

class CGradesIf : public CSimIface<CSimGrade, IF_GRADE> {
public:
    KV_SIM_IFACE(CGradesIf, CSimGrade)

    KV_SIM_GET(Get, GradeRecord)
    long Set(long id, long number, const CStr& name, const CStr& shortName, long productId, const CCur& price1,
             const CCur& price2);
    long GetPrice(CSimGrade* g, short level, CCur* price);
    long SetPrice(CSimGrade* g, short level, const CCur& price);
};

class CTanksIf : public CSimIface<CSimTank, IF_TANK> {
public:
    KV_SIM_IFACE(CTanksIf, CSimTank)

    KV_SIM_GET(Get, TankRecord)
    KV_SIM_SET(Set, TankRecord)
    long GetStatus(CSimTank* t, CCur* level, CCur* waterLevel, CCur* temperature, CCur* gross, CCur* water,
                   CCur* ullage, CCur* net, short* gaugeState, short* alarms, short* responding);
    long Read(CSimTank* t);
    long LogStatus(CSimTank* t, const CCur& level, const CCur& waterLevel, const CCur& temperature,
                   const CCur& gross, const CCur& water, const CCur& ullage, const CCur& net, short gaugeState,
                   short alarms);
    long LogAlarm(CSimTank* t, short code, short raised, const CStr& text);
    long SetGaugeCapacity(CSimTank* t, const CCur& capacity);
    long SetResponding(CSimTank* t, short responding);
    long GetStrappingTableSize(CSimTank* t, long* size);
    long GetStrappingPoint(CSimTank* t, long index, CCur* level, CCur* volume);
    long SetStrappingPoint(CSimTank* t, long index, const CCur& level, const CCur& volume);
    long ClearStrappingTable(CSimTank* t);
};

class CPortsIf : public CSimIface<CSimPort, IF_PORT> {
public:
    KV_SIM_IFACE(CPortsIf, CSimPort)

    KV_SIM_GET(Get, PortRecord)
    KV_SIM_SET(Set, PortRecord)
    long LogStatus(CSimPort* p, short state, short lastError, long good, long bad);
    long GetStatus(CSimPort* p, short* state, short* lastError, long* good, long* bad);
    long Reset(CSimPort* p);
    long ZBPanIDEvent(CSimPort* p, long long panId);
    long ZB2GStatusEvent(CSimPort* p, long long a1, short a2, short a3, long long a4, short a5, short a6,
                         short a7, short a8);
    long GetZBConfig(CSimPort* p, long long* panId, long* channels, long long* keyHigh, long long* keyLow);
    long ZBKeyEvent(CSimPort* p, long long keyHigh, long long keyLow);
    long ZBChannelsEvent(CSimPort* p, long channels);
    long WatchDogPing(CSimPort* p, long a1, long a2, short a3);
    long KVOdoStatusEvent(CSimPort* p, long long a1, short a2, short a3, long long a4, short a5, short a6,
                          short a7, short a8, long long a9, long a10, short a11, long long a12, long a13, short a14,
                          long long a15, long long a16, long long a17, long long a18, short a19, const CStr& a20);
};

class CDeliveriesIf : public CSimIface<CSimDelivery, IF_DELIVERY> {
public:
    KV_SIM_IFACE(CDeliveriesIf, CSimDelivery)

    KV_SIM_GET(Get, DeliveryRecord)
    // Set and SetEx correct a finished delivery's record.
    template <class... V> long Set(long id, const V&... v);
    template <class... V> long SetEx(long id, const V&... v) { return Set(id, v...); }
    long Lock(CSimDelivery* d, long client);
    long Unlock(CSimDelivery* d, long client);
    long Clear(CSimDelivery* d, long client, short type);
    long LockAndClear(CSimDelivery* d, long client, short type);
    KV_SIM_GET(GetEx, DeliveryRecord)
    
    long Count(long* count);
    long GetIDByOrdinal(long ordinal, long* id);
    long AckDBLog(CSimDelivery* d);
    long CountNotLogged(long* count);
    long GetIDByOrdinalNotLogged(long ordinal, long* id);
    long AckVolLog(CSimDelivery* d);
    long CountNotVolLogged(long* count);
    long GetIDByOrdinalNotVolLogged(long ordinal, long* id);
    long GetSummary(CSimDelivery* d, long* pumpId, long* pumpNumber, long* hoseId, long* gradeId, long* tankId,
                    CStr* pumpName, long* gradeNumber, long* tankNumber, CStr* gradeName, long* deliveryId,
                    long* hoseSiteNumber, CStr* hoseName, CStr* gradeShort, CStr* tankName, short* hose,
                    short* presetType, CCur* presetValue, short* level, CCur* volume, CCur* money, CCur* price,
                    CDate* finished, long* state, long* type, long* lockOwner, long* attendantId, CDate* started,
                    CCur* volBefore, CCur* volAfter, CCur* moneyBefore, CCur* moneyAfter, CCur* authorised,
                    CCur* refund, long long* tag, long* reserveClient, long* clearedBy, CStr* attendantName,
                    long long* cardNumber, CStr* cardClientName, long* cardClientId, long* paymentRef,
                    CStr* paymentText, long long* extTransaction, CStr* extText, CCur* netVolume);
    long GetDuration(CSimDelivery* d, long* seconds);
    KV_SIM_GET(GetExt, DeliveryExtRecord)
    KV_SIM_SET_OBJECT(SetExt, DeliveryExtRecord)
    long CountFiltered(long* count, long f1, long f2, long f3, long f4, long f5, long f6, long f7, long f8, long f9,
                       long f10, long f11, short f12, short f13, short f14, short f15, long long f16, long f17,
                       long f18, long long f19, long f20, long f21, long long f22, const CDate& from,
                       const CDate& to);
    long GetIDByOrdinalFiletered(long ordinal, long* id, long f1, long f2, long f3, long f4, long f5, long f6,
                                 long f7, long f8, long f9, long f10, long f11, short f12, short f13, short f14,
                                 short f15, long long f16, long f17, long f18, long long f19, long f20, long f21,
                                 long long f22, const CDate& from, const CDate& to);

    // The four lists: every delivery not cleared, not acknowledged for the database log,
    // not acknowledged for the volume log. The ordinal is 1-based.
    enum TList { CURRENT, NOT_LOGGED, NOT_VOL_LOGGED };
    CSimDelivery* Nth(TList list, long ordinal, long* count);
};

class CAttendantsIf : public CSimIface<CSimAttendant, IF_ATTENDANT> {
public:
    KV_SIM_IFACE(CAttendantsIf, CSimAttendant)

    KV_SIM_GET(Get, AttendantRecord)
    KV_SIM_SET(Set, AttendantRecord)
    long Logon(CSimAttendant* a, long key);
    long Logoff(CSimAttendant* a);
    long GetState(CSimAttendant* a, short* loggedOn, short* authorisations);
};

KV_SIM_RECORD_IFACE(CZigBeesIf, CSimZigBee, IF_ZIGBEE, ZigBeeRecord)

KV_SIM_RECORD_IFACE(CCardClientsIf, CSimCardClient, IF_CARDCLIENT, CardClientRecord)

KV_SIM_RECORD_IFACE(CCardReadsIf, CSimCardRead, IF_CARDREAD, CardReadRecord)

class CLogEventsIf : public CSimIface<CSimLogEvent, IF_LOGEVENT> {
public:
    KV_SIM_IFACE(CLogEventsIf, CSimLogEvent)

    KV_SIM_GET(Get, LogEventRecord)
    KV_SIM_SET(Set, LogEventRecord)
    long ClearEvent(CSimLogEvent* e, long client);
    long AckEvent(CSimLogEvent* e, long client);
    long GetEventsCount(long* count, short type, long deviceId, short level, short state, long code, long client,
                        const CDate& from, const CDate& to);
    long GetEventByOrdinal(long ordinal, long* id, short type, long deviceId, short level, short state, long code,
                           long client, const CDate& from, const CDate& to);

    CSimLogEvent* Match(long ordinal, short type, long deviceId, short level, short state, long code, long client,
                        const CDate& from, const CDate& to, long* count);
};

class CSensorsIf : public CSimIface<CSimSensor, IF_SENSOR> {
public:
    KV_SIM_IFACE(CSensorsIf, CSimSensor)

    KV_SIM_GET(Get, SensorRecord)
    KV_SIM_SET(Set, SensorRecord)
    long SetStatus(CSimSensor* s, short status, short alarm);
    long GetStatus(CSimSensor* s, short* status, short* alarm);
    long SetResponding(CSimSensor* s, short responding);
    long LogRawStatus(CSimSensor* s, short code, short previous, short channel);
};

class CProductsIf : public CSimIface<CSimProduct, IF_PRODUCT> {
public:
    KV_SIM_IFACE(CProductsIf, CSimProduct)

    KV_SIM_GET(Get, ProductRecord)
    KV_SIM_SET(Set, ProductRecord)
    long GetProductsCount(long* count, long type, const CStr& name, const CStr& code, const CStr& t5,
                          const CStr& t6, long v7, long v12);
    long GetProductByOrdinal(long ordinal, long* id, long type, const CStr& name, const CStr& code, const CStr& t5,
                             const CStr& t6, long v7, long v12);

    CSimProduct* Match(long ordinal, long type, const CStr& name, const CStr& code, const CStr& t5, const CStr& t6,
                       long v7, long v12, long* count);
};

class CSaleItemsIf : public CSimIface<CSimSaleItem, IF_SALEITEM> {
public:
    KV_SIM_IFACE(CSaleItemsIf, CSimSaleItem)

    KV_SIM_GET(Get, SaleItemRecord)
    template <class... V> long Set(long id, const V&... v);
    long GetSummary(CSimSaleItem* s, long* number, long* productId, CStr* productName, long long* barcode,
                    long* pumpId, CStr* pumpName, CStr* productCode, long* clientNumber, long* lockOwner,
                    CStr* t1, long* clearedBy, long* deliveryId, CStr* t2, long long* cardNumber, long* cardClientId,
                    long* paymentRef, CStr* t3, long long* extTransaction, short* quantity, CCur* price,
                    CCur* amount, CDate* created, CDate* cleared, long* lockOwner2, long* clearedBy2, short* state,
                    short* type, CStr* s1, CStr* s2, CStr* s3, CStr* s4, short* flags);
    long Lock(CSimSaleItem* s, long client);
    long Unlock(CSimSaleItem* s, long client);
    long Clear(CSimSaleItem* s, long client);
    long LockAndClear(CSimSaleItem* s, long client);
    long AckDBLog(CSimSaleItem* s);
    long AckVolLog(CSimSaleItem* s);
    long GetSaleItemsCount(long* count, long productId, long pumpId, long client, long lockOwner, long clearedBy,
                           long state, long long f7, long f8, long f9, long long f10, long f11, long f12,
                           short type, short logged, const CDate& from, const CDate& to);
    long GetSaleItemByOrdinal(long ordinal, long* id, long productId, long pumpId, long client, long lockOwner,
                              long clearedBy, long state, long long f7, long f8, long f9, long long f10, long f11,
                              long f12, short type, short logged, const CDate& from, const CDate& to);

    CSimSaleItem* Match(long ordinal, long productId, long pumpId, long client, long lockOwner, long clearedBy,
                        long state, short type, short logged, const CDate& from, const CDate& to, long* count);
};

}  // namespace sim

// The server side of the forecourt interfaces: one class per interface, holding that
// class's objects, with one method per row of the interface's table (src/proxies/*.h).
// ProcessCall dispatches through KV_SERVER_DISPATCH over the same table the proxies are
// built from, so the wire contract exists once. By-reference arguments arrive as pointers,
// null when the caller does not want the value.
#pragma once
#include <cstdint>
#include "rpc/serverif.h"
#include "sim/forecourt.h"
#include "sim/objects.h"

namespace sim {

template <class T, uint16_t Type>
class CSimIface : public CServerInterface<T> {
public:
    CSimIface(CForecourt& fc, CProcess* process) : CServerInterface<T>(process, nullptr, 0), _fc(fc) {}
    uint16_t ObjectType() const override { return Type; }
    uint16_t InterfaceVersion() const override { return 0; }
    // The objects, for the forecourt's own walks.
    CObjectList<T, T>& List() { return this->_objects; }

protected:
    CForecourt& _fc;
};

class CPumpsIf : public CSimIface<CSimPump, IF_PUMP> {
public:
    using CSimIface::CSimIface;
    long ProcessCall(short function, CSimPump* pump, CSocket* socket) override;

    long Get(CSimPump* p, long* number, CStr* name, short* protocol, short* address, short* level, short* autoAuth,
             short* stackSize, short* moneyDec, short* volumeDec, short* priceDec, short* digits, long* portId,
             long* flow, short* prepay, short* preauth, short* tag, short* spare);
    long Set(long id, long number, const CStr& name, short protocol, short address, short level, short autoAuth,
             short stackSize, short moneyDec, short volumeDec, short priceDec, short digits, long portId, long flow,
             short prepay, short preauth, short tag, short spare);
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
    long GetEx(CSimPump* p, long* number, CStr* name, short* protocol, short* address, short* level,
               short* autoAuth, short* stackSize, short* moneyDec, short* volumeDec, short* priceDec, short* digits,
               long* portId, long* flow, short* prepay, short* preauth, short* tag, short* spare, long* zigBeeId,
               long* sensorId, short* beep, short* leds);
    long SetEx(long id, long number, const CStr& name, short protocol, short address, short level, short autoAuth,
               short stackSize, short moneyDec, short volumeDec, short priceDec, short digits, long portId,
               long flow, short prepay, short preauth, short tag, short spare, long zigBeeId, long sensorId,
               short beep, short leds);
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
    using CSimIface::CSimIface;
    long ProcessCall(short function, CSimHose* hose, CSocket* socket) override;

    long Get(CSimHose* h, long* number, CStr* name, long* pumpId, long* pumpHoseNumber, long* gradeId, long* tankId);
    long Set(long id, long number, const CStr& name, long pumpId, long pumpHoseNumber, long gradeId, long tankId);
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
    using CSimIface::CSimIface;
    long ProcessCall(short function, CSimGrade* grade, CSocket* socket) override;

    long Get(CSimGrade* g, long* number, CStr* name, CStr* shortName, long* productId, CCur* price1, CCur* price2);
    long Set(long id, long number, const CStr& name, const CStr& shortName, long productId, const CCur& price1,
             const CCur& price2);
    long GetPrice(CSimGrade* g, short level, CCur* price);
    long SetPrice(CSimGrade* g, short level, const CCur& price);
};

class CTanksIf : public CSimIface<CSimTank, IF_TANK> {
public:
    using CSimIface::CSimIface;
    long ProcessCall(short function, CSimTank* tank, CSocket* socket) override;

    long Get(CSimTank* t, long* number, CStr* name, long* gradeId, CCur* capacity, CCur* gaugeCapacity,
             long* gaugeNumber, long* portId);
    long Set(long id, long number, const CStr& name, long gradeId, const CCur& capacity, const CCur& gaugeCapacity,
             long gaugeNumber, long portId);
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
    using CSimIface::CSimIface;
    long ProcessCall(short function, CSimPort* port, CSocket* socket) override;

    long Get(CSimPort* p, long* number, CStr* name, CStr* device, CStr* settings, short* type, short* protocol,
             short* enabled);
    long Set(long id, long number, const CStr& name, const CStr& device, const CStr& settings, short type,
             short protocol, short enabled);
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
    using CSimIface::CSimIface;
    long ProcessCall(short function, CSimDelivery* delivery, CSocket* socket) override;

    long AllCount(long* count);
    long GetAllIDByOrdinal(long ordinal, long* id);
    long Get(CSimDelivery* d, long* pumpId, short* hose, short* presetType, CCur* presetValue, short* level,
             CCur* volume, CCur* money, CCur* price, CDate* finished, long* state, long* type, long* lockOwner,
             long* attendantId);
    long Set(long id, long pumpId, short hose, short presetType, const CCur& presetValue, short level,
             const CCur& volume, const CCur& money, const CCur& price, const CDate& finished, long state, long type,
             long lockOwner, long attendantId);
    long Lock(CSimDelivery* d, long client);
    long Unlock(CSimDelivery* d, long client);
    long Clear(CSimDelivery* d, long client, short type);
    long LockAndClear(CSimDelivery* d, long client, short type);
    long GetEx(CSimDelivery* d, long* pumpId, short* hose, short* presetType, CCur* presetValue, short* level,
               CCur* volume, CCur* money, CCur* price, CDate* finished, long* state, long* type, long* lockOwner,
               long* attendantId, CDate* started, CCur* volBefore, CCur* volAfter, CCur* moneyBefore,
               CCur* moneyAfter, CCur* authorised, CCur* refund, long long* tag, long* reserveClient,
               long* clearedBy, CCur* netVolume);
    long SetEx(long id, long pumpId, short hose, short presetType, const CCur& presetValue, short level,
               const CCur& volume, const CCur& money, const CCur& price, const CDate& finished, long state,
               long type, long lockOwner, long attendantId, const CDate& started, const CCur& volBefore,
               const CCur& volAfter, const CCur& moneyBefore, const CCur& moneyAfter, const CCur& authorised,
               const CCur& refund, long long tag, long reserveClient, long clearedBy, const CCur& netVolume);
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
    long GetExt(CSimDelivery* d, CStr* e1, CCur* e2, CCur* e3, CStr* e4, CStr* e5, CStr* e6, short* e7);
    long SetExt(CSimDelivery* d, const CStr& e1, const CCur& e2, const CCur& e3, const CStr& e4, const CStr& e5,
                const CStr& e6, short e7);
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
    using CSimIface::CSimIface;
    long ProcessCall(short function, CSimAttendant* attendant, CSocket* socket) override;

    long Get(CSimAttendant* a, long* number, CStr* name, CStr* shortName, CStr* pin, CStr* tag, CStr* role,
             short* level, short* enabled, short* v9, short* v10, short* v11);
    long Set(long id, long number, const CStr& name, const CStr& shortName, const CStr& pin, const CStr& tag,
             const CStr& role, short level, short enabled, short v9, short v10, short v11);
    long Logon(CSimAttendant* a, long key);
    long Logoff(CSimAttendant* a);
    long GetState(CSimAttendant* a, short* loggedOn, short* authorisations);
};

class CZigBeesIf : public CSimIface<CSimZigBee, IF_ZIGBEE> {
public:
    using CSimIface::CSimIface;
    long ProcessCall(short function, CSimZigBee* device, CSocket* socket) override;

    long Get(CSimZigBee* z, long* number, CStr* name, short* type, CStr* address, CStr* firmware, long* portId);
    long Set(long id, long number, const CStr& name, short type, const CStr& address, const CStr& firmware,
             long portId);
};

class CCardClientsIf : public CSimIface<CSimCardClient, IF_CARDCLIENT> {
public:
    using CSimIface::CSimIface;
    long ProcessCall(short function, CSimCardClient* client, CSocket* socket) override;

    long Get(CSimCardClient* c, long* number, CStr* name, CStr* prefix, short* cardType, short* status, CStr* t6,
             CStr* t7, CStr* t8, CStr* t9, short* discount, short* odometer, short* needPin, CCur* creditLimit,
             short* priceLevel, CDate* expiry, long* account, CStr* contact, CCur* balance, long* flags);
    long Set(long id, long number, const CStr& name, const CStr& prefix, short cardType, short status,
             const CStr& t6, const CStr& t7, const CStr& t8, const CStr& t9, short discount, short odometer,
             short needPin, const CCur& creditLimit, short priceLevel, const CDate& expiry, long account,
             const CStr& contact, const CCur& balance, long flags);
};

class CCardReadsIf : public CSimIface<CSimCardRead, IF_CARDREAD> {
public:
    using CSimIface::CSimIface;
    long ProcessCall(short function, CSimCardRead* read, CSocket* socket) override;

    long Get(CSimCardRead* r, long* number, CStr* name, long* pumpId, short* reader, long* cardClientId,
             long long* tag, CDate* when);
    long Set(long id, long number, const CStr& name, long pumpId, short reader, long cardClientId, long long tag,
             const CDate& when);
};

class CLogEventsIf : public CSimIface<CSimLogEvent, IF_LOGEVENT> {
public:
    using CSimIface::CSimIface;
    long ProcessCall(short function, CSimLogEvent* event, CSocket* socket) override;

    long Get(CSimLogEvent* e, short* type, long* deviceId, long* code, CStr* device, short* level, short* state,
             CStr* text, CDate* raised, CDate* cleared, long* clearedBy, long* ackedBy, CCur* v1, CCur* v2,
             CCur* v3, CCur* v4, CCur* v5, CCur* v6);
    long Set(long id, short type, long deviceId, long code, const CStr& device, short level, short state,
             const CStr& text, const CDate& raised, const CDate& cleared, long clearedBy, long ackedBy,
             const CCur& v1, const CCur& v2, const CCur& v3, const CCur& v4, const CCur& v5, const CCur& v6);
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
    using CSimIface::CSimIface;
    long ProcessCall(short function, CSimSensor* sensor, CSocket* socket) override;

    long Get(CSimSensor* s, long* number, CStr* name, long* portId, short* type, short* address, short* enabled,
             long* v7, long* v8);
    long Set(long id, long number, const CStr& name, long portId, short type, short address, short enabled, long v7,
             long v8);
    long SetStatus(CSimSensor* s, short status, short alarm);
    long GetStatus(CSimSensor* s, short* status, short* alarm);
    long SetResponding(CSimSensor* s, short responding);
    long LogRawStatus(CSimSensor* s, short code, short previous, short channel);
};

class CProductsIf : public CSimIface<CSimProduct, IF_PRODUCT> {
public:
    using CSimIface::CSimIface;
    long ProcessCall(short function, CSimProduct* product, CSocket* socket) override;

    long Get(CSimProduct* p, long* number, CStr* name, CStr* code, short* type, CStr* t5, CStr* t6, long* v7,
             CCur* density, CCur* v9, CCur* v10, CCur* v11, long* v12);
    long Set(long id, long number, const CStr& name, const CStr& code, short type, const CStr& t5, const CStr& t6,
             long v7, const CCur& density, const CCur& v9, const CCur& v10, const CCur& v11, long v12);
    long GetProductsCount(long* count, long type, const CStr& name, const CStr& code, const CStr& t5,
                          const CStr& t6, long v7, long v12);
    long GetProductByOrdinal(long ordinal, long* id, long type, const CStr& name, const CStr& code, const CStr& t5,
                             const CStr& t6, long v7, long v12);

    CSimProduct* Match(long ordinal, long type, const CStr& name, const CStr& code, const CStr& t5, const CStr& t6,
                       long v7, long v12, long* count);
};

class CSaleItemsIf : public CSimIface<CSimSaleItem, IF_SALEITEM> {
public:
    using CSimIface::CSimIface;
    long ProcessCall(short function, CSimSaleItem* item, CSocket* socket) override;

    long Get(CSimSaleItem* s, long* number, long* productId, long* pumpId, long* clientNumber, short* quantity,
             CCur* price, CCur* amount, CDate* created, CDate* cleared, long* lockOwner, long* clearedBy,
             short* state, short* type, CStr* t1, CStr* t2, CStr* t3, CStr* t4, short* flags);
    long Set(long id, long number, long productId, long pumpId, long clientNumber, short quantity, const CCur& price,
             const CCur& amount, const CDate& created, const CDate& cleared, long lockOwner, long clearedBy,
             short state, short type, const CStr& t1, const CStr& t2, const CStr& t3, const CStr& t4, short flags);
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

// CForecourt: the simulated forecourt. Its objects live in the served interfaces (one per
// object class, sim/served.h), which the process owns; the forecourt holds them, runs the
// pump state machine and the deliveries in simulated time, and reports what happens to a
// sink as CSimEvent values. Single-threaded, like the server loop that drives it.
#pragma once
#include <cstdint>
#include <string>
#include <vector>
#include "foundation/date.h"
#include "foundation/str.h"
#include "sim/objects.h"

class CProcess;

namespace sim {

class CPumpsIf;
class CHosesIf;
class CGradesIf;
class CTanksIf;
class CPortsIf;
class CDeliveriesIf;
class CAttendantsIf;
class CZigBeesIf;
class CCardClientsIf;
class CCardReadsIf;
class CLogEventsIf;
class CSensorsIf;
class CProductsIf;
class CSaleItemsIf;

enum class TSimEvent {
    Pump,            // state change (id pump, a = its state, b = the state before)
    Progress,        // running delivery progress (id pump)
    Delivery,        // id delivery, a = client whose call caused it (0 the forecourt)
    Zero,            // id pump, a = hose ID, b = delivery type, values = {authorised, delivery ID}
    Server,          // a = event ID, text
    Client,          // id = sending client, a = event ID, text
    CardRead,        // id card read
    TermPrompt,      // id pump, a = key, b = field, text
    LogEvent,        // id log event
    SaleItem,        // id sale item
    ZBPanID,         // id port, values = {PAN ID}
    ZB2GStatus,      // id port, values = the eight reported values
    Odo,             // id port, values = the 19 reported numbers, text = the reported string
    DBLogDelivery,   // id delivery
    DBStack,         // id delivery
    DBClear,         // id delivery
    DBLogEvent,      // id log event
    DBHoseTotals,    // id hose
    DBTrigger,       // a, b
    DBAttendantLogon,   // id attendant, a = logon value
    DBAttendantLogoff,  // id attendant
    DBTankStatus,    // id tank
};

struct CSimEvent {
    TSimEvent kind;
    long id = -1;
    long a = 0;
    long b = 0;
    CStr text;
    std::vector<int64_t> values;
};

class CSimSink {
public:
    virtual ~CSimSink() = default;
    virtual void Emit(const CSimEvent& e) = 0;
};

// Tank reading as GetStatus and the tank status record carry it.
struct CTankReading {
    Raw level, waterLevel, temperature, gross, water, ullage, net;
};

// Everything a pump event carries, in the record's order (docs/simulator.md).
struct CPumpView {
    long id = -1, number = -1;
    short state = PS_IDLE, hose = 0;
    long deliveryId = 0, reserveClient = 0, reserveType = 0, attendantId = -1, hoseId = -1, gradeId = -1;
    CStr stateText, errorText;
    short level = 1;
    Raw volume = 0, money = 0, price = 0;
    short errorCode = 0;
    CStr name;
    long tankId = -1;
    short presetType = 0, hoses = 0, unpaid = 0, enabled = 1, nozzleUp = 0;
    long prevState = 0;
    short autoAuthorise = 0, defaultLevel = 1, stopped = 0, authorised = 0, deliveryType = 0, stackSize = 0,
          allowedHose = 0;
    long long tag = -1;
    long cardClientId = -1, paymentRef = -1;
    CStr paymentText;
    long long cardNumber = -1;
    long lockOwner = 0, deliveryState = 0;
    CStr attendantName;
    long long extTransaction = -1;
    Raw presetValue = 0, authorisedAmount = 0;
};

// The names and numbers of what a delivery refers to, -1 and empty for what is gone.
struct CDeliveryNames {
    long pumpNumber = -1, gradeNumber = -1, tankNumber = -1, hoseSiteNumber = -1;
    CStr pumpName, gradeName, gradeShort, tankName, hoseName, attendantName, cardClientName;
};

class CForecourt {
public:
    // Creates the served interfaces and hands them to the process, which owns them.
    CForecourt(CProcess* process, CSimSink* sink);
    CForecourt(const CForecourt&) = delete;
    CForecourt& operator=(const CForecourt&) = delete;

    // Reads the forecourt from an INI file; false with a reason when it cannot be used.
    bool Load(const char* iniPath, std::string* error);

    CPumpsIf& Pumps() { return *_pumps; }
    CHosesIf& Hoses() { return *_hoses; }
    CGradesIf& Grades() { return *_grades; }
    CTanksIf& Tanks() { return *_tanks; }
    CPortsIf& Ports() { return *_ports; }
    CDeliveriesIf& Deliveries() { return *_deliveries; }
    CAttendantsIf& Attendants() { return *_attendants; }
    CZigBeesIf& ZigBees() { return *_zigbees; }
    CCardClientsIf& CardClients() { return *_cardClients; }
    CCardReadsIf& CardReads() { return *_cardReads; }
    CLogEventsIf& LogEvents() { return *_logEvents; }
    CSensorsIf& Sensors() { return *_sensors; }
    CProductsIf& Products() { return *_products; }
    CSaleItemsIf& SaleItems() { return *_saleItems; }

    // Look-ups by ID (null when gone) and by number.
    CSimPump* Pump(long id);
    CSimPump* PumpByNumber(long number);
    CSimHose* Hose(long id);
    CSimHose* HoseOf(const CSimPump& p, short hoseNumber);
    CSimGrade* Grade(long id);
    CSimTank* Tank(long id);
    CSimDelivery* Delivery(long id);
    CSimAttendant* Attendant(long id);
    CSimProduct* Product(long id);
    CSimCardClient* CardClient(long id);
    CSimPort* Port(long id);
    CSimLogEvent* LogEvent(long id);
    CSimSaleItem* SaleItem(long id);
    int HoseCount(const CSimPump& p);

    // ---- what happens at the pumps (the control channel and the auto customers) ----
    long Lift(CSimPump& p, short hoseNumber);
    long Hang(CSimPump& p);
    // Advances simulated time: deliveries flow, presets stop them, progress is reported.
    void Advance(long ms);

    // ---- pump operations behind the pump interface ----
    long Authorise(CSimPump& p, const CAuth& auth, bool reserved);
    // A reserved authorisation is its client's to cancel (client 0: the forecourt itself).
    long CancelAuthorise(CSimPump& p, long client = 0);
    long TempStop(CSimPump& p);
    long ReAuthorise(CSimPump& p);
    long Terminate(CSimPump& p, long client = 0);
    long Reserve(CSimPump& p, short type, long client);
    long CancelReserve(CSimPump& p, short type, long client);
    long Disable(CSimPump& p, bool off);
    long StackCurrent(CSimPump& p);
    // Field faults: the pump stops responding or its driver reports an error (0 clears it);
    // a running delivery ends with what flowed, an authorisation is withdrawn.
    long SetOffline(CSimPump& p, bool offline);
    long SetFault(CSimPump& p, short code);
    // A session has ended: its reservations not yet authorised and its locks go, with the
    // events the other clients see.
    void ReleaseClient(long client);
    long AllStop(bool onlyIdle);
    long AllAuthorise();
    long AllReAuthorise();
    // A driver's report of a finished delivery (pump LogDelivery, ExternalEndDelivery).
    long RecordDelivery(CSimPump& p, short hoseNumber, const CAuth& auth, Raw volume, Raw money, Raw price,
                        short level, Raw volumeTotal, Raw moneyTotal, bool totalsGiven);
    long ExternalStart(CSimPump& p, short hoseNumber, long reference, long client);

    // ---- deliveries ----
    long Lock(CSimDelivery& d, long client);
    long Unlock(CSimDelivery& d, long client);
    long Clear(CSimDelivery& d, long client, short type, bool lockFirst);
    // The pump's deliveries that are not cleared, newest first.
    std::vector<CSimDelivery*> Unpaid(const CSimPump& p);

    // ---- prices, tanks, totals ----
    short LevelOf(const CSimPump& p, short requested) const;
    Raw HosePrice(const CSimHose& h, short level);
    void SetGradePrice(CSimGrade& g, short level, Raw price);
    CTankReading Reading(const CSimTank& t) const;
    void SaveTotals(CSimHose& h, Raw volume, Raw money);
    void DrawFromTank(long tankId, Raw volume);

    // ---- log events, card reads ----
    CSimLogEvent& RaiseLogEvent(short type, long deviceId, long code, const CStr& device, const CStr& text, short level);
    CSimCardRead& AddCardRead(long pumpId, short reader, long long tag, const CStr& text);
    CSimCardClient* FindCardClient(const CStr& card);
    bool KnownTag(long long tag);
    // The card rules for an authorisation paid by card: blocked, expired, over the credit
    // limit; the card client's price level and the rest of its credit as the limit.
    long CardAuth(CAuth& a, const CStr& card);

    CPumpView View(CSimPump& p);
    CDeliveryNames Names(const CSimDelivery& d);

    // ---- events and time ----
    void Emit(TSimEvent kind, long id, long a = 0, long b = 0, const CStr& text = CStr(""),
              std::vector<int64_t> values = {});
    void Notify(CSimPump& p);      // a pump event when its state or anything shown changed
    CDate Now() const;
    void SetClock(const CDate& d);
    long NewID(long& next) { return next++; }

    // Settings.
    long flowMls = 600;            // litres per second x 1000 of every pump without its own
    long progressMs = 250;         // simulated ms between progress events of a running delivery
    long authTimeoutMs = 120000;   // simulated ms an authorisation waits for its customer; 0 for ever
    long nextDeliveryId = 1001;
    long nextLogEventId = 1301;
    long nextCardReadId = 1201;

    static Raw Money(Raw volume, Raw price);   // volume x price to the cent, half away from zero
    static const char* StateText(short state);
    short StateOf(const CSimPump& p) const;

private:
    CSimDelivery& NewDelivery(CSimPump& p, CSimHose& h, const CAuth& a, short level, Raw price);
    long StartDelivery(CSimPump& p, CSimHose& h);
    void Finish(CSimPump& p, CSimDelivery& d, const Raw* totals);
    void Flow(CSimPump& p, CSimDelivery& d, long ms);
    void Complete(CSimPump& p, CSimDelivery& d);
    bool StackFull(const CSimPump& p);

    CProcess* _process;
    CSimSink* _sink;
    int64_t _clockOffset = 0;      // ticks added to the system clock by SetDateTime

    CPumpsIf* _pumps;
    CHosesIf* _hoses;
    CGradesIf* _grades;
    CTanksIf* _tanks;
    CPortsIf* _ports;
    CDeliveriesIf* _deliveries;
    CAttendantsIf* _attendants;
    CZigBeesIf* _zigbees;
    CCardClientsIf* _cardClients;
    CCardReadsIf* _cardReads;
    CLogEventsIf* _logEvents;
    CSensorsIf* _sensors;
    CProductsIf* _products;
    CSaleItemsIf* _saleItems;
};

}  // namespace sim

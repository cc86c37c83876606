// The objects of the simulated forecourt. Each class is its own list element so that a
// CServerInterface<T> can hold it; the (id, number, name, process) constructor is the one
// the generic New uses. Cross references are by ID, never by pointer: any object may be
// deleted by a client at any time.
#pragma once
#include <cstdint>
#include <utility>
#include <vector>
#include "foundation/date.h"
#include "foundation/list.h"
#include "foundation/str.h"
#include "sim/codes.h"

class CProcess;

namespace sim {

template <class Self>
class CSimObject : public CElement<Self, Self> {
public:
    CSimObject(long id, long number, const CStr& name) : _id(id), _number(number), _name(name) {}
    ~CSimObject() override = default;
    long ID() const { return _id; }
    long GetNumber() const { return _number; }
    CStr* GetName() { return &_name; }
    const CStr& Name() const { return _name; }
    bool CanDelete() const { return true; }
    void SetNumber(long n) { _number = n; }
    void SetName(const CStr& n) { _name = n; }
    void SetLastAddressed(long ms) { _lastAddressed = ms; }

protected:
    long _id;
    long _number;
    CStr _name;
    long _lastAddressed = 0;
};

#define KV_SIM_OBJECT(Class)                                                          \
    Class(long id, long number, const CStr& name, CProcess* = nullptr)               \
        : CSimObject<Class>(id, number, name) {}

// Money and volumes in CCur's raw unit (value x 10000).
using Raw = int64_t;

// Bounds on what clients and drivers may set, so that no product or sum of them overflows:
// a delivery's volume times its price stays far below the 64-bit limit.
constexpr Raw kMaxAmount = 10000000000LL;         // 1,000,000 litres, or money units
constexpr Raw kMaxPrice = 100000000LL;            // 10,000 per litre
constexpr Raw kMaxTotal = 1000000000000000LL;     // hose totals
constexpr long kMaxFlowMls = 100000;              // 100 litres per second
inline bool Within(Raw v, Raw max) { return v >= 0 && v <= max; }

struct CSimGrade : CSimObject<CSimGrade> {
    KV_SIM_OBJECT(CSimGrade)
    CStr shortName;
    long productId = -1;
    Raw price[2] = {0, 0};   // price levels 1 and 2
};

struct CSimProduct : CSimObject<CSimProduct> {
    KV_SIM_OBJECT(CSimProduct)
    CStr code, text5, text6;
    short type = 1;
    long value7 = 0, value12 = 0;
    Raw density = 7500;      // kg per litre x 10000
    Raw value9 = 0, value10 = 0, value11 = 0;
};

struct CSimTank : CSimObject<CSimTank> {
    KV_SIM_OBJECT(CSimTank)
    long gradeId = -1;
    Raw capacity = 0, gaugeCapacity = 0;
    long gaugeNumber = 0, portId = -1;
    Raw lowLevel = 0;        // deliveries stop when the volume falls to it
    Raw height = 25000000;   // mm x 10000, for the linear level when there is no strapping table
    Raw volume = 0, waterVolume = 0, waterLevel = 0, temperature = 150000;
    short gaugeState = 1, alarms = 0, responding = 1;
    std::vector<std::pair<Raw, Raw>> strapping;   // (level, volume), rising level
    // A driver's LogStatus replaces the computed reading until the next delivery.
    bool reported = false;
    Raw reportedLevel = 0, reportedNet = 0, reportedUllage = 0;
};

struct CSimHose : CSimObject<CSimHose> {
    KV_SIM_OBJECT(CSimHose)
    long pumpId = -1, pumpHoseNumber = 1, gradeId = -1, tankId = -1;
    Raw volumeTotal = 0, moneyTotal = 0, prevVolumeTotal = 0, prevMoneyTotal = 0;
    Raw shownPrice[2] = {0, 0};   // a driver's report of the displayed price; 0 = the grade's
};

// The pump's configuration values as Get/GetEx carry them (see docs/simulator.md).
struct CPumpConfig {
    short protocol = 1, address = 1, defaultLevel = 1, autoAuthorise = 0, stackSize = 2;
    short moneyDecimals = 2, volumeDecimals = 2, priceDecimals = 3, digits = 6;
    long portId = -1, flow = 0;                       // flow in ml/s; 0 = the forecourt's
    short prepayAllowed = 1, preauthAllowed = 1, tagAllowed = 1, spare = 0;
    long zigBeeId = -1, sensorId = -1;
    short beep = 0, leds = 0;
};

// What an authorisation allows and records into the delivery it starts.
struct CAuth {
    bool active = false;
    long type = DT_POSTPAY;
    short presetType = PRESET_NONE;
    Raw presetValue = 0;
    short level = 0;            // 0: the pump's default
    short hose = 0;             // 0: any hose
    Raw price = 0;              // unit price override; 0 = the hose's
    long attendantId = -1;
    long long tag = -1;
    long long cardNumber = -1, extTransaction = -1;
    long cardClientId = -1, paymentRef = -1;
    CStr paymentText;
};

struct CSimPump : CSimObject<CSimPump> {
    KV_SIM_OBJECT(CSimPump)
    bool CanDelete() const { return runningId == 0; }

    CPumpConfig cfg;
    short nozzle = 0;           // hose number lifted, 0 none
    bool disabled = false;
    bool stopped = false;       // temporary stop of the running delivery
    bool finished = false;      // the delivery ended with the nozzle still lifted
    bool external = false;      // the running delivery is an external controller's: no flow
    bool offline = false;       // not responding
    short fault = 0;            // driver error code, 0 none
    bool readerFault = false;   // the card reader is out of order
    long authMs = 0;            // how long the authorisation has waited for its customer
    CAuth auth;
    CAuth runningAuth;          // what the running delivery was started with
    short reserveType = RES_NONE;
    long reserveClient = 0;
    long runningId = 0;         // the delivery in progress
    long lastDeliveryId = 0;    // the most recent delivery, running or not
    short errorCode = 0;
    CStr errorText;
    short state = PS_IDLE;      // as last reported in an event
    short prevState = PS_IDLE;
    // Values of a driver's UpdateState report, shown while no simulated delivery runs.
    Raw shownVolume = 0, shownMoney = 0, shownPrice = 0;
    // Delivery progress: flow remainder and time since the last progress event.
    int64_t flowRemainder = 0;
    long sinceProgress = 0;
    CStr lastPrompt;            // last KVTermPrompt text shown on the pump's terminal
};

struct CSimDelivery : CSimObject<CSimDelivery> {
    KV_SIM_OBJECT(CSimDelivery)
    bool CanDelete() const { return state == DS_CLEARED; }

    long pumpId = -1, hoseId = -1, gradeId = -1, tankId = -1;
    short hoseNumber = 0, presetType = PRESET_NONE, priceLevel = 1;
    Raw presetValue = 0, volume = 0, money = 0, price = 0;
    CDate started, finished;
    long state = DS_RUNNING, type = DT_POSTPAY, lockOwner = 0, attendantId = -1;
    Raw volBefore = 0, volAfter = 0, moneyBefore = 0, moneyAfter = 0, authorised = 0, refund = 0;
    long long tag = -1, cardNumber = -1, extTransaction = -1;
    long reserveClient = 0, clearedBy = 0, cardClientId = -1, paymentRef = -1;
    short clearType = 0;
    CStr paymentText, extText;
    Raw netVolume = 0;
    bool dbLogged = false, volLogged = false;
    // The extension record (GetExt / SetExt).
    CStr ext1, ext4, ext5, ext6;
    Raw ext2 = 0, ext3 = 0;
    short ext7 = 0;
};

struct CSimAttendant : CSimObject<CSimAttendant> {
    KV_SIM_OBJECT(CSimAttendant)
    CStr shortName, pin, tag, role;
    short level = 1, enabled = 1, value9 = 0, value10 = 0, value11 = 0;
    bool loggedOn = false;
    short authorisations = 0;
};

struct CSimCardClient : CSimObject<CSimCardClient> {
    KV_SIM_OBJECT(CSimCardClient)
    CStr prefix, text6, text7, text8, text9, contact;
    short cardType = 1, status = 0, discount = 0, odometer = 0, needPin = 0, priceLevel = 0;
    Raw creditLimit = 0, balance = 0;
    CDate expiry;
    long account = 0, flags = 0;
};

struct CSimCardRead : CSimObject<CSimCardRead> {
    KV_SIM_OBJECT(CSimCardRead)
    long pumpId = -1, cardClientId = -1;
    short reader = 0;
    long long tag = 0;
    CDate when;
};

struct CSimZigBee : CSimObject<CSimZigBee> {
    KV_SIM_OBJECT(CSimZigBee)
    short type = 1;
    CStr address, firmware;
    long portId = -1;
};

struct CSimSensor : CSimObject<CSimSensor> {
    KV_SIM_OBJECT(CSimSensor)
    long portId = -1, value7 = 0, value8 = 0;
    short type = 1, address = 0, enabled = 1;
    short status = 0, alarm = 0, responding = 1;
};

struct CSimPort : CSimObject<CSimPort> {
    KV_SIM_OBJECT(CSimPort)
    CStr device, settings;
    short type = 1, protocol = 1, enabled = 1;
    short linkState = 1, lastError = 0;
    long good = 0, bad = 0;
    long long panId = 0, keyHigh = 0, keyLow = 0;
    long channels = 0;
    long long odoSequence = 0;
};

struct CSimLogEvent : CSimObject<CSimLogEvent> {
    KV_SIM_OBJECT(CSimLogEvent)
    short type = LE_OPERATOR, level = 1, state = LS_ACTIVE;
    long deviceId = -1, code = 0, clearedBy = 0, ackedBy = 0;
    CStr device, text;
    CDate raised, cleared;
    Raw values[6] = {0, 0, 0, 0, 0, 0};
};

struct CSimSaleItem : CSimObject<CSimSaleItem> {
    KV_SIM_OBJECT(CSimSaleItem)
    long productId = -1, pumpId = -1, clientNumber = 0, lockOwner = 0, clearedBy = 0;
    short quantity = 1, state = SI_OPEN, type = 1, flags = 0;
    Raw price = 0, amount = 0;
    CDate created, cleared;
    CStr text[4];
    bool dbLogged = false, volLogged = false;
};

// A logged-on client: object ID and number are its client number.
struct CSimClient : CSimObject<CSimClient> {
    KV_SIM_OBJECT(CSimClient)
    unsigned long long sessionId = 0;
    long mask = kDefaultEventMask;
    bool events = false, db = false;   // registered interfaces 2 and 1
    long calls = 0;
    long long seenMs = 0;              // last time it had a socket open (wall ms)
};

#undef KV_SIM_OBJECT

}  // namespace sim

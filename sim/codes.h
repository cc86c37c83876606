// The simulator's own vocabulary: the codes it puts in status fields and answers with.
// docs/simulator.md lists them for client writers; keep the two in step.
#pragma once

namespace sim {

// Pump states (GetStatus value 1, pump event field 3).
enum TPumpState : short {
    PS_IDLE = 1,          // nozzle hung, nothing pending
    PS_CALLING = 2,       // nozzle lifted, not authorised
    PS_AUTHORISED = 3,    // authorised, waiting for the nozzle
    PS_DELIVERING = 4,    // fuel flowing
    PS_FINISHED = 5,      // delivery ended (preset reached, terminated), nozzle still lifted
    PS_STOPPED = 6,       // temporarily stopped during a delivery
    PS_DISABLED = 7,
    PS_RESERVED = 8,      // reserved by one client for a prepay, pre-authorisation or payment
    PS_OFFLINE = 9,       // the pump does not respond
    PS_ERROR = 10,        // the pump's driver reports an error
};

// Pump error codes (status error code), with the pump's error text.
enum TPumpError : short { PE_TANK_EMPTY = 3, PE_TANK_BLOCKED = 4, PE_AUTH_TIMEOUT = 5 };

// Reservation kinds (GetStatus value 5).
enum TReserve : short { RES_NONE = 0, RES_PREPAY = 1, RES_PREAUTH = 2, RES_PAYMENT = 3 };

// Preset kinds: the limit of an authorisation.
enum TPreset : short { PRESET_NONE = 0, PRESET_MONEY = 1, PRESET_VOLUME = 2 };

// Delivery states (delivery base field 10).
enum TDeliveryState : long { DS_RUNNING = 1, DS_COMPLETED = 2, DS_STACKED = 3, DS_CLEARED = 4 };

// How a delivery was authorised (delivery base field 11).
enum TDeliveryType : long {
    DT_POSTPAY = 1, DT_PREPAY = 2, DT_PREAUTH = 3, DT_ATTENDANT = 4, DT_TAG = 5,
    DT_PAYMENT = 6, DT_EXTERNAL = 7, DT_DRIVER = 8,
};

// Clear types: what ClearDelivery's type means. A pump test puts the fuel back in the tank.
enum TClearType : short { CLEAR_OTHER = 0, CLEAR_CASH = 1, CLEAR_CARD = 2, CLEAR_ACCOUNT = 3,
                          CLEAR_DRIVEOFF = 4, CLEAR_PUMPTEST = 5 };

// Results of the simulator's own refusals. 0 success, 2 not found as everywhere.
enum TSimResult : long {
    SR_OK = 0,
    SR_NOT_FOUND = 2,
    SR_STATE = 10,            // the pump's (or object's) state does not allow it
    SR_RESERVED_OTHER = 11,   // reserved by another client
    SR_NOT_RESERVED = 12,     // the caller holds no reservation of that kind
    SR_DISABLED = 13,
    SR_BAD_VALUE = 14,        // preset type, value, price level or hose out of range
    SR_STACK_FULL = 15,       // the pump holds as many unpaid deliveries as it may
    SR_LOCKED = 16,           // locked by another client
    SR_CLEARED = 17,          // already cleared
    SR_RUNNING = 18,          // the delivery is still running
    SR_REFUSED = 19,          // credentials or tag refused, attendant not logged on
    SR_CARD_BLOCKED = 20,     // the card's account is blocked
    SR_CARD_EXPIRED = 21,
    SR_CARD_LIMIT = 22,       // the amount exceeds what is left of the card's credit limit
    SR_OFFLINE = 23,          // the pump is offline or in a driver error
    SR_READER_FAULT = 24,     // the pump's card reader is out of order
    SR_CLIENT_LIMIT = 55,     // logon refused: as many clients as allowed are logged on
};

// Client event type mask bits: which events call a registered client receives.
enum TEventBit : long {
    EV_PUMP = 1 << 0,          // pump state changes and progress while delivering
    EV_DELIVERY = 1 << 1,      // delivery events
    EV_SERVER = 1 << 2,        // server events
    EV_OLD_PUMP = 1 << 3,      // pump events in the older form (call 13, 32 fields) instead of 27
    EV_OLD_DELIVERY = 1 << 4,  // delivery events in the older form (call 14) instead of 17
    EV_ZIGBEE = 1 << 5,        // ZigBee PAN ID, ZigBee status and odometer events
    EV_CLIENT = 1 << 6,        // client events (FireClientEvent)
    EV_LOGEVENT = 1 << 7,      // log event events
    EV_SALEITEM = 1 << 8,      // sale item events
    EV_TERMINAL = 1 << 9,      // terminal prompt answers
    EV_ZERO = 1 << 10,         // zero deliveries
    EV_CARD = 1 << 11,         // card reads
};

// Server event IDs (ServerEvent value 1).
enum TServerEvent : long {
    SE_CLIENT_LOGON = 1, SE_CLIENT_LOGOFF = 2, SE_ALL_STOP = 3, SE_ALL_AUTHORISE = 4,
    SE_PRICE_CHANGE = 5, SE_CLOCK_SET = 6, SE_CONFIG = 7, SE_DRIVER_STARTED = 8,
    SE_WATCHDOG = 9, SE_OPERATOR = 10,
};

// Log event types (log event value 1) and states.
enum TLogKind : short { LE_DRIVER = 1, LE_TANK = 2, LE_SENSOR = 3, LE_CLIENT = 4, LE_OPERATOR = 5 };
enum TLogState : short { LS_ACTIVE = 0, LS_ACKNOWLEDGED = 1, LS_CLEARED = 2 };

// Sale item states.
enum TSaleItemState : short { SI_OPEN = 1, SI_CLEARED = 2 };

constexpr long kDefaultEventMask = 3143;

}  // namespace sim

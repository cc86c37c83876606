// CKVCLProcess: the library's client session. Logs on to the server, holds the proxies,
// the session ID and the event queue, reconnects under the same session ID, logs off.
#pragma once
#include <cstdint>
#include "client/event.h"
#include "foundation/list.h"
#include "foundation/str.h"
#include "rpc/process.h"

class CIClient;
class CIPump;
class CIHose;
class CIGrade;
class CITank;
class CIPort;
class CIDelivery;
class CIAttendant;
class CICardRead;
class CICardClient;
class CIZigBee;
class CILogEvent;
class CISensor;
class CIProduct;
class CISaleItem;

// Client-type bits.
enum TClientType : long {
    CLIENT_CALLS = 1,      // the call interface: object proxies and call functions
    CLIENT_EVENTS = 2,     // the events interface and the event queue
    CLIENT_DB = 4,         // the database-events interface
};

// The event queue: first in, first out, unbounded; owns its records.
class CEventQueue : public CKVList<CEvent, CEvent> {
public:
    // Unlinks the head without destroying it (the cursor moves to the new head).
    CEvent* TakeHead();
};

// A struct, as the C API header declares it.
struct CKVCLProcess : public CClientProcess {
public:
    static constexpr const char* kVersion = "2,5,6,0";
    static constexpr const char* kClientName = "POS Client";
    static constexpr const char* kBanner = "KVServer client DLL Version(2,5,6,0:B1) Built(Nov  4 2019 at 17:41:36)";
    static constexpr const char* kIniName = "KVClient.ini";
    static constexpr long kDefaultEventType = 3143;
    static constexpr uint64_t kNoSession = ~0ULL;
    // Log path settings applied by SetLogPath and at logon.
    static constexpr long kLogPathSize = 1450000;
    static constexpr short kLogPathArchives = 10;

    // Settings from "KVClient.ini".
    CKVCLProcess(long clientId, long type, void* event, void* window, unsigned int message);
    // Settings as given.
    CKVCLProcess(long clientId, long type, const char* server, unsigned short callPort,
                 unsigned short eventsPort, long callTimeout, void* event, void* window,
                 unsigned int message);
    ~CKVCLProcess() override;   // logs off first

    long PortManagement(CSocket* socket, TPort port, uint8_t code, long arg) override;
    long Reconnect() override;
    long Disconnect() override;
    long ServerLogoff() override { return Logoff(); }

    long Logon();
    long Logoff();
    long CheckVersions();
    bool GoodConnection() const { return _connected; }
    // The connection flag as the logon and reconnect set it; tests use it to stand for a
    // connection lost without a logoff.
    void SetConnected(bool on) { _connected = on; }
    long PingConnection();
    long CheckForManagementFtn();
    long CheckResult(long r);
    long SetClientEventType(long clientId, long mask);
    long TestConnection();

    // The event queue (first in, first out, unbounded).
    long GetEventsCount(long* count) const;
    long GetNextEventType(short* type) const;
    CEvent* GetEvent();                     // unlinks the head; the caller destroys it
    CEvent* PeekEvent() const { return _queue.Head(); }
    void QueueEvent(CEvent* e);             // appends at the tail; the queue owns it
    long DiscardNextEvent();                // 0, or 2 when the queue is empty

    long ClientType() const { return _clientType; }
    long ClientEventType() const { return _clientEventType; }
    void SetStoredClientEventType(long mask) { _clientEventType = mask; }
    uint64_t SessionID() const { return _sessionId; }

    // Proxies that a reconnect or a logoff replaced while one of their calls was still on
    // the stack are destroyed here, at the entry of the next exported call.
    void ReapRetired() { if (_retired.Items()) ReapAll(); }

    CIClient* Client() const { return _client; }
    CIPump* Pump() const { return _pump; }
    CIHose* Hose() const { return _hose; }
    CIGrade* Grade() const { return _grade; }
    CITank* Tank() const { return _tank; }
    CIPort* Port() const { return _port; }
    CIDelivery* Delivery() const { return _delivery; }
    CIAttendant* Attendant() const { return _attendant; }
    CICardRead* CardRead() const { return _cardRead; }
    CICardClient* CardClient() const { return _cardClient; }
    CIZigBee* ZigBee() const { return _zigBee; }
    CILogEvent* LogEvent() const { return _logEvent; }
    CISensor* Sensor() const { return _sensor; }
    CIProduct* Product() const { return _product; }
    CISaleItem* SaleItem() const { return _saleItem; }
    CInterface* EventsInterface() const { return _eventsInterface; }
    CInterface* DBInterface() const { return _dbInterface; }

private:
    void Init(long type);
    void CreateServingInterfaces();
    void CreateProxies();
    void RetireProxies();
    template <class P> void Retire(P*& proxy, bool unbind);
    void BindProxies(CSocket* socket);     // null unbinds
    void ReapAll();

    CInterface* _eventsInterface;          // serves events calls (client-type bit 1); owned by the process
    CInterface* _dbInterface;              // serves database calls (client-type bit 2); owned by the process
    CEventQueue _queue;
    CIClient* _client;
    CIPump* _pump;
    CIHose* _hose;
    CIGrade* _grade;
    CITank* _tank;
    CIPort* _port;
    CIDelivery* _delivery;
    CIAttendant* _attendant;
    CICardRead* _cardRead;
    CICardClient* _cardClient;
    CIZigBee* _zigBee;
    CILogEvent* _logEvent;
    CISensor* _sensor;
    CIProduct* _product;
    CISaleItem* _saleItem;
    long _clientType;
    bool _connected;
    uint64_t _sessionId;
    long _clientEventType;
    CKVList<CInterface, CInterface> _retired;
};

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

class CKVCLProcess : public CClientProcess {
public:
    static constexpr const char* kVersion = "2,5,6,0";
    static constexpr const char* kClientName = "POS Client";
    static constexpr const char* kBanner = "KVServer client DLL Version(2,5,6,0:B1) Built(Nov  4 2019 at 17:41:36)";
    static constexpr const char* kIniName = "KVClient.ini";
    static constexpr long kDefaultEventType = 3143;
    static constexpr uint64_t kNoSession = ~0ULL;

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
    long PingConnection();
    long CheckForManagementFtn();
    long CheckResult(long r);
    long SetClientEventType(long clientId, long mask);
    long TestConnection();

    // The event queue (first in, first out, unbounded).
    long GetEventsCount(long* count) const;
    long GetNextEventType(short* type) const;
    CEvent* GetEvent();                     // unlinks the head; the caller destroys it
    CEvent* PeekEvent() const;
    void QueueEvent(CEvent* e);

    long ClientType() const { return _clientType; }
    long ClientEventType() const { return _clientEventType; }
    void SetStoredClientEventType(long mask) { _clientEventType = mask; }
    uint64_t SessionID() const { return _sessionId; }

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

private:
    void CreateProxies();
    void DestroyProxies();
    void BindProxies(CSocket* socket);     // null unbinds

    CInterface* _eventsInterface;          // serves events calls (client-type bit 1)
    CInterface* _dbInterface;              // serves database calls (client-type bit 2)
    CKVList<CEvent, CEvent> _queue;
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
};

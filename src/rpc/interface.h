// CInterface: one call interface over a socket. Packs and unpacks the tagged values
// of its own message buffer, sends requests and waits for replies.
// CClientInterface: the calling side (proxies); CServerInterface<T> (serverif.h): the serving side.
#pragma once
#include <cstdint>
#include "foundation/date.h"
#include "foundation/list.h"
#include "foundation/parent.h"
#include "foundation/str.h"
#include "rpc/message.h"

class CSocket;
class CProcess;
class CLog;
struct MethodInfo;

class CInterface : public CElement<CInterface, CInterface> {
public:
    CInterface(CProcess* process, CSocket* socket, long clientId);
    ~CInterface() override;
    CInterface(const CInterface&) = delete;
    CInterface& operator=(const CInterface&) = delete;

    virtual void TimerEvent(short) {}
    virtual uint16_t ObjectType() const = 0;
    virtual uint16_t InterfaceVersion() const = 0;
    // Serving side: check and dispatch one request, leaving the reply in msg.
    // Only CServerInterface<T> serves; a calling interface refuses with -3.
    virtual long ProcessMsg(TIMsg* msg, CSocket* socket) { (void)msg; (void)socket; return BAD_INTERFACE_RESULT; }

    // ---- packing (appends at the end of the current message's data) ----
    void AppendType(uint8_t tag, int size);                  // room check 2048, -9
    bool AppendPType(uint8_t tag, int size, const void* p);  // null p: tag 18, returns false
    void Pack(char v);
    void Pack(bool v);
    void Pack(short v);
    void Pack(long v);                                       // 4 bytes on the wire
    void Pack(double v);
    void Pack(long long v);
    void Pack(const CCur& v);
    void Pack(const CDate& v);
    void Pack(const CStr& v);                                // low 16 bits of each character
    void Pack(const char*) = delete;                         // would silently pack as a bool
    void Pack(char* p);
    void Pack(bool* p);
    void Pack(short* p);
    void Pack(long* p);
    void Pack(double* p);
    void Pack(long long* p);
    void Pack(CCur* p);
    void Pack(CDate* p);
    void Pack(CStr* p);
    void Pack(const void* block, short n);                   // tag 16
    void EndPack() { AppendType(TAG_END, 0); }

    // Raw accessors, no protocol checks of their own; they never step outside the buffer
    // (reads past it give 0, writes past it are dropped).
    void AppendByte(uint8_t v);
    void AppendWord(uint16_t v);
    void AppendLong(uint32_t v);
    void AppendLongLong(uint64_t v);
    void AppendDouble(double v);
    uint8_t GetByte();
    uint16_t GetWord();
    uint32_t GetLong();
    uint64_t GetLongLong();
    double GetDouble();

    // ---- unpacking (reads at the read position; readable area ends at 2047) ----
    void CheckType(uint8_t tag, int size);                   // -10 overrun, -11 other tag
    bool CheckPType(uint8_t tag, int size, const void* p);
    void Unpack(char& v);
    void Unpack(bool& v);
    void Unpack(short& v);
    void Unpack(long& v);
    void Unpack(double& v);
    void Unpack(long long& v);
    void Unpack(CCur& v);
    void Unpack(CDate& v);
    void Unpack(CStr& v);                                    // units arrive as 0..0xFFFF
    char* Unpack(char* p);
    bool* Unpack(bool* p);
    short* Unpack(short* p);
    long* Unpack(long* p);
    double* Unpack(double* p);
    long long* Unpack(long long* p);
    CCur* Unpack(CCur* p);
    CDate* Unpack(CDate* p);
    CStr* Unpack(CStr* p);
    void* Unpack(void* block, int capacity);                 // tag 16; more than capacity: -10
    void EndUnpack() { CheckType(TAG_END, 0); }
    bool IfType(uint8_t tag, int size);
    int GetParCount();
    int ReadPos() const { return _readPos; }
    void SetReadPos(short p) { _readPos = p; }

    // ---- the call cycle ----
    void Send();                                             // negative socket result thrown
    void Get();                                              // waits for the reply

    // Logs "Throw %d, Line %d, File %s, Ftn %s" when r is negative and not -7, then throws r.
    [[noreturn]] void Throw(TResult r, int line, const char* ftn, const char* file = "Process") const;
    // Logs "Catch %d, Line %d, File %s, Ftn %s" when r is negative and not -7 (and not quiet); returns r.
    long Caught(TResult r, int line, const char* module, const char* ftn, bool quiet = false) const;

    TIMsg* Msg() const { return _msg; }
    void SetMsg(TIMsg* m) { _msg = m; }
    TIMsg* Buffer() { return &_buffer; }
    CSocket* Socket() const { return _socket; }
    void SetSocket(CSocket* s) { _socket = s; }
    CProcess* Process() const { return _parent.Parent(); }
    CLog* Trace() const;
    long ClientID() const { return _clientId; }
    void SetClientID(long id) { _clientId = id; }
    long DestID() const { return _destId; }
    void SetDestID(long id) { _destId = id; }
    uint16_t Sequence() const { return _sequence; }

protected:
    void UnpackChars(CStr& v);                               // the count word, then the units

    TIMsg _buffer;
    TIMsg* _msg;
    short _readPos;
    uint16_t _sequence;
    uint8_t _function;        // of the last request, to check the reply
    uint32_t _object;
    long _clientId;
    long _destId;
    CSocket* _socket;
    CParent _parent;
};

class CClientInterface : public CInterface {
public:
    using CInterface::CInterface;

    void InitPack(uint8_t function, unsigned long object, bool oneWay);
    void InitUnpack();                                       // the ten reply checks
    void Call();                                             // send, wait, retry after a reconnect
    bool OneWay() const { return _msg->h.flag != 0; }

    // Generic functions 2..12, answered by every interface (module Process).
    long GetVersion(long* version);
    long New(long number, long id, const CStr& name);        // sends name, id, number
    long Delete(long id, bool oneWay);                       // flag in the header byte
    long Count(long* count);
    long GetIDByNumber(long number, long* id);
    long GetIDByName(const CStr& name, long* id);
    long GetIDByOrdinal(long ordinal, long* id);
    long GetNumber(long id, long* number);
    long SetNumber(long id, long number);
    long GetName(long id, CStr* name);
    long SetName(long id, const CStr& name);

private:
    void DrainStale();

    // The request as sent: the reply (or a management message) is read over the current
    // message, and a retry after a reconnect must send the same bytes again.
    TIMsg _request;
};

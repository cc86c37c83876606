// What the web console shows: a copy of the forecourt taken on the simulation thread, and
// its JSON forms, made on the HTTP threads from the copy alone.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

namespace sim {

class CSimServer;
struct CSimEvent;

struct CSnapDelivery {
    long id = 0, state = 0, type = 0, lockOwner = 0, reserveClient = 0;
    short hose = 0, presetType = 0, level = 1;
    int64_t presetValue = 0, volume = 0, money = 0, price = 0;
};

struct CSnapHose {
    long number = 0, id = 0, grade = -1, tank = -1;
};

struct CSnapPump {
    long number = 0, id = 0;
    std::string name, stateText, errorText, gradeName;
    short state = 0, hose = 0, level = 1, presetType = 0, reserveType = 0, allowedHose = 0, errorCode = 0;
    short unpaid = 0, stackSize = 0, deliveryType = 0;
    bool authorised = false, stopped = false, disabled = false, autoAuthorise = false, nozzleUp = false;
    bool offline = false, readerFault = false;
    long deliveryId = 0, reserveClient = 0, grade = -1, tank = -1, lockOwner = 0, deliveryState = 0, flowMls = 0;
    int64_t volume = 0, money = 0, price = 0, presetValue = 0, authorisedAmount = 0;
    std::vector<CSnapHose> hoses;
    std::vector<CSnapDelivery> deliveries;   // not cleared, newest first
};

struct CSnapTank {
    long number = 0, id = 0, grade = -1;
    std::string name;
    int64_t capacity = 0, volume = 0, ullage = 0, level = 0, water = 0, temperature = 0;
    short alarms = 0;
};

struct CSnapGrade {
    long number = 0, id = 0;
    std::string name, shortName;
    int64_t price1 = 0, price2 = 0;
};

struct CSnapClient {
    long number = 0;
    std::string name;
    unsigned long long session = 0;
    long mask = 0;
    bool events = false, db = false, callOpen = false, eventsOpen = false;
};

struct CSnapshot {
    uint64_t generation = 0;
    std::string time;
    double speed = 1;
    bool autoCustomers = false;
    long flowMls = 0;
    std::vector<CSnapPump> pumps;
    std::vector<CSnapTank> tanks;
    std::vector<CSnapGrade> grades;
    std::vector<CSnapClient> clients;
};

// Simulation thread only: reads the forecourt and the sessions.
CSnapshot TakeSnapshot(CSimServer& server);
// One line of the event log: the call the clients were sent, to whom, and its main values.
// Simulation thread only; seq numbers the line, to lists the receiving clients.
std::string EventJson(CSimServer& server, const CSimEvent& e, const std::vector<long>& to, uint64_t seq);

std::string StateJson(const CSnapshot& s);
std::string JsonString(const std::string& text);

}  // namespace sim

// Reading the forecourt from its INI file. Every object class has numbered sections
// ([Pump1], [Pump2] ...) read until the first missing number; object IDs are a class base
// plus the number unless the section names an ID.
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "foundation/ini.h"
#include "sim/forecourt.h"
#include "sim/records.h"
#include "sim/served.h"

namespace sim {

namespace {

class CIniReader {
public:
    explicit CIniReader(const char* path) : _ini(path, "", false) {}

    bool Has(const std::string& section)
    {
        CStr text;
        const bool has = _ini.GetSection(section.c_str(), text) > 0;
        _ini.Close();
        return has;
    }

    CStr Str(const std::string& section, const char* key, const char* fallback)
    {
        _ini.SetSection(section.c_str());
        const bool has = _ini.HasKey(key);
        _ini.Close();
        if (!has)
            return CStr(fallback);
        CStr v;
        _ini.GetStr(key, v);
        _ini.Close();
        v.LTrim();
        v.RTrim();
        return v;
    }

    long Long(const std::string& section, const char* key, long fallback)
    {
        CStr v = Str(section, key, "");
        return v.Length() ? std::strtol(static_cast<char*>(v), nullptr, 10) : fallback;
    }

    // A decimal value into CCur's raw units.
    Raw Cur(const std::string& section, const char* key, double fallback)
    {
        CStr v = Str(section, key, "");
        const double d = v.Length() ? std::strtod(static_cast<char*>(v), nullptr) : fallback;
        return CCur::FromDouble(d).Value();
    }

    // A record field: the key's value when the key is there, else the field keeps its own.
    template <class T>
    void Read(const std::string& section, const char* key, T& v, bool cur)
    {
        if constexpr (std::is_same_v<T, CStr>)
            v = Str(section, key, static_cast<char*>(v));
        else if constexpr (std::is_same_v<T, CDate>)
            v = Date(section, key);
        else if (cur)
            v = static_cast<T>(Cur(section, key, CCur::FromRaw(static_cast<Raw>(v)).ToDouble()));
        else
            v = static_cast<T>(Long(section, key, static_cast<long>(v)));
    }

    // "YYYY-MM-DD" as a date at midnight; anything else is no date.
    CDate Date(const std::string& section, const char* key)
    {
        CStr v = Str(section, key, "");
        struct tm t {};
        if (v.Length() == 0 || !strptime(static_cast<char*>(v), "%Y-%m-%d", &t))
            return CDate();
        t.tm_isdst = -1;
        return CDate(&t);
    }

private:
    CINIFile _ini;
};

std::string Section(const char* kind, int n) { return std::string(kind) + std::to_string(n); }

// Reads [<kind>1], [<kind>2] ... and creates one object per section: the record's keys,
// then what `fill` adds (references by number, defaults taken from other fields).
template <class Rec, class T, class F>
void ReadAll(CIniReader& ini, const char* kind, long idBase, CObjectList<T, T>& list, F&& fill)
{
    for (int n = 1; n < 1000; ++n) {
        const std::string s = Section(kind, n);
        if (!ini.Has(s))
            break;
        const long id = ini.Long(s, "ID", idBase + n);
        CStr name = ini.Str(s, "Name", s.c_str());
        auto* obj = new T(id, ini.Long(s, "Number", n), name);
        fill(*obj, s);
        Rec::Load(*obj, ini, s);
        list.Add(obj);
    }
}

template <class T>
long IdOfNumber(CObjectList<T, T>& list, long number)
{
    T* x = list.FindByNumber(number);
    return x ? x->ID() : -1;
}

}  // namespace

bool CForecourt::Load(const char* iniPath, std::string* error)
{
    if (FILE* f = std::fopen(iniPath, "r")) {
        std::fclose(f);
    } else {
        *error = std::string("cannot read ") + iniPath;
        return false;
    }
    CIniReader ini(iniPath);
    const std::string server = "Server";
    flowMls = static_cast<long>(ini.Cur(server, "Flow", 0.6) / 10);
    progressMs = ini.Long(server, "ProgressMs", 250);
    authTimeoutMs = ini.Long(server, "AuthTimeout", 120000);
    nextDeliveryId = ini.Long(server, "FirstDeliveryID", 1001);
    if (flowMls <= 0 || progressMs <= 0 || nextDeliveryId <= 0) {
        *error = "[Server] Flow, ProgressMs and FirstDeliveryID must be positive";
        return false;
    }

    ReadAll<ProductRecord>(ini, "Product", 800, _products->List(), [](CSimProduct& p, const std::string&) {
        p.density = 0;
    });
    ReadAll<GradeRecord>(ini, "Grade", 300, _grades->List(), [&](CSimGrade& g, const std::string& s) {
        g.productId = IdOfNumber(_products->List(), ini.Long(s, "Product", -1));
        g.price[0] = ini.Cur(s, "Price1", 1.0);
        g.price[1] = g.price[0];
    });
    ReadAll<PortRecord>(ini, "Port", 500, _ports->List(), [&](CSimPort& p, const std::string& s) {
        p.panId = std::strtoll(static_cast<char*>(ini.Str(s, "PanID", "0")), nullptr, 0);
        p.channels = ini.Long(s, "Channels", 0);
    });
    ReadAll<TankRecord>(ini, "Tank", 400, _tanks->List(), [&](CSimTank& t, const std::string& s) {
        t.gradeId = IdOfNumber(_grades->List(), ini.Long(s, "Grade", -1));
        t.capacity = t.gaugeCapacity = ini.Cur(s, "Capacity", 20000);
        t.gaugeNumber = t.GetNumber();
        t.volume = ini.Cur(s, "Volume", 0);
        t.height = ini.Cur(s, "Height", 2500);
        t.waterVolume = ini.Cur(s, "Water", 0);
        t.waterLevel = ini.Cur(s, "WaterLevel", 0);
        t.temperature = ini.Cur(s, "Temperature", 15);
        t.portId = IdOfNumber(_ports->List(), ini.Long(s, "Port", -1));
    });
    long hoseNumber = 0;
    std::string bad;
    ReadAll<PumpRecord>(ini, "Pump", 100, _pumps->List(), [&](CSimPump& p, const std::string& s) {
        CPumpConfig& c = p.cfg;
        c.portId = IdOfNumber(_ports->List(), ini.Long(s, "Port", -1));
        c.address = static_cast<short>(p.GetNumber());
        c.flow = static_cast<long>(ini.Cur(s, "Flow", 0) / 10);
        // Hoses=1,3: hose 1 draws from tank 1, hose 2 from tank 3; the grade is the tank's.
        CStr list = ini.Str(s, "Hoses", "1");
        const char* text = static_cast<char*>(list);
        short onPump = 0;
        for (const char* q = text; *q && onPump < 8;) {
            char* end = nullptr;
            const long tankNumber = std::strtol(q, &end, 10);
            if (end == q) {
                bad = s + " Hoses";
                break;
            }
            CSimTank* tank = _tanks->List().FindByNumber(tankNumber);
            if (!tank) {
                bad = s + " Hoses: no tank " + std::to_string(tankNumber);
                break;
            }
            ++onPump;
            ++hoseNumber;
            CStr name;
            name.Format("P%ldH%d", p.GetNumber(), onPump);
            auto* h = new CSimHose(200 + hoseNumber, hoseNumber, name);
            h->pumpId = p.ID();
            h->pumpHoseNumber = onPump;
            h->tankId = tank->ID();
            h->gradeId = tank->gradeId;
            _hoses->List().Add(h);
            q = end;
            while (*q == ',' || *q == ' ')
                ++q;
        }
    });
    if (!bad.empty()) {
        *error = "bad [" + bad + "]";
        return false;
    }
    ReadAll<AttendantRecord>(ini, "Attendant", 600, _attendants->List(), [](CSimAttendant&, const std::string&) {});
    ReadAll<CardClientRecord>(ini, "CardClient", 700, _cardClients->List(),
                              [&](CSimCardClient& c, const std::string& s) {
                                  c.expiry = ini.Date(s, "Expiry");
                                  c.account = ini.Long(s, "Account", c.GetNumber());
                              });
    ReadAll<SensorRecord>(ini, "Sensor", 1000, _sensors->List(), [&](CSimSensor& x, const std::string& s) {
        x.portId = IdOfNumber(_ports->List(), ini.Long(s, "Port", -1));
        x.address = static_cast<short>(x.GetNumber());
    });
    ReadAll<ZigBeeRecord>(ini, "ZigBee", 1100, _zigbees->List(), [&](CSimZigBee& z, const std::string& s) {
        z.portId = IdOfNumber(_ports->List(), ini.Long(s, "Port", -1));
    });
    ReadAll<SaleItemRecord>(ini, "SaleItem", 900, _saleItems->List(), [&](CSimSaleItem& x, const std::string& s) {
        x.productId = IdOfNumber(_products->List(), ini.Long(s, "Product", -1));
        x.pumpId = IdOfNumber(_pumps->List(), ini.Long(s, "Pump", -1));
        x.created = Now();
    });
    for (CSimSaleItem* x = _saleItems->List().First(); x; x = _saleItems->List().Next())
        x->amount = CCur::FromDouble(CCur::FromRaw(x->price).ToDouble() * x->quantity).Value();
    if (_pumps->GetCount() == 0) {
        *error = std::string(iniPath) + " defines no pumps";
        return false;
    }
    return true;
}

}  // namespace sim

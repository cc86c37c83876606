/*
 * pos_demo: a point-of-sale session against kvsim, through the C API alone.
 *
 * Logs on, lists the pumps with their hoses and grades, presets pump 1 to 20.00, lifts the
 * nozzle through kvsim's control port, follows the pump and delivery events as the sale
 * runs, locks and clears the delivery, prints a receipt and the tank's level change, and
 * logs off.
 *
 * usage: pos_demo <host> <call port> <events port> <control port>
 */
#include <arpa/inet.h>
#include <netinet/in.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

#include "kvclient.h"

enum { CLIENT_ID = 7, CLIENT_TYPE = 7 };          /* calls, events, database events */
enum { EVENT_PUMP = 1, EVENT_DELIVERY = 2 };      /* GetNextEventType codes */
enum { PUMP_DELIVERING = 4, PUMP_FINISHED = 5 };  /* kvsim's pump states */
enum { DELIVERY_COMPLETED = 2 };                  /* kvsim's delivery states */
enum { PRESET_MONEY = 1, CLEAR_CASH = 1 };

static int failed(const char* what, long result)
{
    fprintf(stderr, "pos_demo: %s failed with result %ld\n", what, result);
    ClientLogoff();
    return 1;
}

/* String outputs fill what the buffer holds: pre-fill it, then cut the padding off. */
static char* blank(char* buf, size_t size)
{
    memset(buf, ' ', size - 1);
    buf[size - 1] = 0;
    return buf;
}

static char* trim(char* buf)
{
    size_t n = strlen(buf);
    while (n > 0 && buf[n - 1] == ' ')
        buf[--n] = 0;
    return buf;
}

/* One command to kvsim's control port; the reply's first line goes into reply. */
static int control(const char* host, int port, const char* command, char* reply, size_t size)
{
    struct sockaddr_in a;
    int fd = socket(AF_INET, SOCK_STREAM, 0);
    size_t n = 0;
    if (fd < 0)
        return -1;
    memset(&a, 0, sizeof a);
    a.sin_family = AF_INET;
    a.sin_port = htons((unsigned short)port);
    if (inet_pton(AF_INET, host, &a.sin_addr) != 1 || connect(fd, (struct sockaddr*)&a, sizeof a) != 0 ||
        send(fd, command, strlen(command), 0) < 0 || send(fd, "\n", 1, 0) < 0) {
        close(fd);
        return -1;
    }
    while (n + 1 < size && recv(fd, reply + n, 1, 0) == 1 && reply[n] != '\n')
        ++n;
    reply[n] = 0;
    close(fd);
    return strncmp(reply, "ok", 2) == 0 ? 0 : -1;
}

static double seconds(void)
{
    struct timespec t;
    clock_gettime(CLOCK_MONOTONIC, &t);
    return (double)t.tv_sec + (double)t.tv_nsec / 1e9;
}

static void list_pumps(void)
{
    long count = 0, i;
    GetPumpsCount(&count);
    printf("Forecourt: %ld pumps\n", count);
    for (i = 1; i <= count; ++i) {
        long id = -1, number = 0, hoses = 0, h;
        char name[32];
        if (GetPumpByOrdinal(i, &id) != 0 ||
            GetPumpProperties(id, &number, blank(name, sizeof name), NULL, NULL, NULL, NULL, NULL, NULL, NULL,
                              NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL) != 0)
            continue;
        GetPumpHosesCount(id, &hoses);
        printf("  %-16s", trim(name));
        for (h = 1; h <= hoses; ++h) {
            long hoseId = -1, gradeId = -1;
            char grade[16];
            double price1 = 0, price2 = 0;
            if (GetPumpHoseByNumber(id, h, &hoseId) != 0 ||
                GetHoseProperties(hoseId, NULL, NULL, NULL, NULL, &gradeId, NULL) != 0 ||
                GetGradeProperties(gradeId, NULL, NULL, blank(grade, sizeof grade), NULL, &price1, &price2) != 0)
                continue;
            printf("  %ld:%-4s %.3f/%.3f", h, trim(grade), price1, price2);
        }
        printf("\n");
    }
}

/* Reads events until the delivery of the pump has completed; its ID goes into *delivery. */
static int follow_sale(long pumpId, long* delivery)
{
    const double deadline = seconds() + 25;
    int completed = 0, finished = 0;
    while (!(completed && finished) && seconds() < deadline) {
        short type = 0;
        long r = ProcessEvents();
        if (r != 0)
            return failed("ProcessEvents", r);
        while (GetNextEventType(&type) == 0 && type != 0) {
            if (type == EVENT_PUMP) {
                long id = 0, number = 0, deliveryId = 0;
                short state = 0, hose = 0;
                char text[24];
                double volume = 0, money = 0, price = 0;
                GetNextPumpEvent(&id, &number, &state, &hose, &deliveryId, NULL, NULL, NULL, blank(text, sizeof text),
                                 NULL, NULL, &volume, &money, &price, NULL);
                if (id != pumpId)
                    continue;
                if (state == PUMP_DELIVERING)
                    printf("  pump %ld  %-10s hose %d  %7.2f l  %7.2f\n", number, trim(text), hose, volume, money);
                else
                    printf("  pump %ld  %s\n", number, trim(text));
                finished = finished || state == PUMP_FINISHED;
            } else if (type == EVENT_DELIVERY) {
                long id = 0, pump = 0, state = 0;
                double volume = 0, money = 0;
                GetNextDeliveryEvent(&id, &pump, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, &volume, &money,
                                     NULL, NULL, &state, NULL, NULL, NULL);
                if (pump != pumpId)
                    continue;
                printf("  delivery %ld %s\n", id, state == DELIVERY_COMPLETED ? "completed" : "started");
                if (state == DELIVERY_COMPLETED) {
                    *delivery = id;
                    completed = 1;
                }
            } else {
                DiscardNextEvent();
            }
        }
        usleep(20000);
    }
    if (!(completed && finished)) {
        fprintf(stderr, "pos_demo: the sale did not complete in time\n");
        return 1;
    }
    return 0;
}

int main(int argc, char** argv)
{
    const char* host;
    int callPort, eventsPort, controlPort;
    long r, pumpId = -1, hoseId = -1, gradeId = -1, tankId = -1, delivery = -1;
    char version[48], reply[128], grade[24], tank[32], when[32];
    double before = 0, after = 0, volume = 0, money = 0, price = 0, preset = 20.00;
    long finished = 0;
    time_t stamp;

    if (argc != 5) {
        fprintf(stderr, "usage: pos_demo <host> <call port> <events port> <control port>\n");
        return 2;
    }
    host = argv[1];
    callPort = atoi(argv[2]);
    eventsPort = atoi(argv[3]);
    controlPort = atoi(argv[4]);

    r = ClientLogonEx(CLIENT_ID, CLIENT_TYPE, host, (unsigned short)callPort, (unsigned short)eventsPort, 3000, NULL,
                      NULL, 0);
    if (r != 0) {
        fprintf(stderr, "pos_demo: logon to %s:%d failed with result %ld\n", host, callPort, r);
        return 1;
    }
    ServerVersion(blank(version, sizeof version));
    printf("Logged on as client %d to %s\n\n", CLIENT_ID, trim(version));
    list_pumps();

    if ((r = GetPumpByNumber(1, &pumpId)) != 0)
        return failed("GetPumpByNumber", r);
    if ((r = GetPumpHoseByNumber(pumpId, 1, &hoseId)) != 0 ||
        (r = GetHoseProperties(hoseId, NULL, NULL, NULL, NULL, &gradeId, &tankId)) != 0)
        return failed("reading hose 1 of pump 1", r);
    GetGradeProperties(gradeId, NULL, blank(grade, sizeof grade), NULL, NULL, NULL, NULL);
    GetTankProperties(tankId, NULL, blank(tank, sizeof tank), NULL, NULL, NULL, NULL, NULL);
    if ((r = GetTankStatus(tankId, NULL, NULL, NULL, &before, NULL, NULL, NULL, NULL, NULL, NULL)) != 0)
        return failed("GetTankStatus", r);

    printf("\nPreset pump 1 to %.2f\n", preset);
    if ((r = LoadPreset(pumpId, PRESET_MONEY, preset, 0, 0)) != 0)
        return failed("LoadPreset", r);
    if (control(host, controlPort, "lift 1 1", reply, sizeof reply) != 0) {
        fprintf(stderr, "pos_demo: kvsim did not lift the nozzle: %s\n", reply);
        ClientLogoff();
        return 1;
    }
    printf("Customer lifts the nozzle of hose 1 (%s)\n", trim(grade));
    if (follow_sale(pumpId, &delivery) != 0)
        return 1;
    control(host, controlPort, "hang 1", reply, sizeof reply);
    printf("Customer hangs up\n\n");

    if ((r = LockDelivery(delivery)) != 0)
        return failed("LockDelivery", r);
    printf("Delivery %ld locked\n", delivery);
    if ((r = GetDeliveryProperties(delivery, NULL, NULL, NULL, NULL, NULL, &volume, &money, &price, &finished, NULL,
                                   NULL, NULL, NULL)) != 0)
        return failed("GetDeliveryProperties", r);
    if ((r = ClearDelivery(delivery, CLEAR_CASH)) != 0)
        return failed("ClearDelivery", r);
    printf("Delivery %ld cleared, paid cash\n", delivery);

    stamp = (time_t)finished;
    strftime(when, sizeof when, "%Y-%m-%d %H:%M:%S", localtime(&stamp));
    printf("\n    ---------------- RECEIPT ----------------\n");
    printf("    Pump 1, hose 1           %s\n", when);
    printf("    %-16s %9.2f l x %6.3f\n", trim(grade), volume, price);
    printf("    TOTAL                              %7.2f\n", money);
    printf("    Paid cash                          %7.2f\n", money);
    printf("    -----------------------------------------\n\n");

    if ((r = GetTankStatus(tankId, NULL, NULL, NULL, &after, NULL, NULL, NULL, NULL, NULL, NULL)) != 0)
        return failed("GetTankStatus", r);
    printf("%s: %.2f l before, %.2f l after (%.2f l sold)\n", trim(tank), before, after, before - after);

    r = ClientLogoff();
    printf("Logged off (%ld)\n", r);
    return r == 0 && money == preset ? 0 : 1;
}

// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// vel-app-example: what an application does with libvel, step by step.
//
//   1. create a callback object and get the application facade with it;
//   2. start the link and wait until the library reports the service ready;
//   3. print the device lists the service sends;
//   4. ask whether a device is paired, connect one of its services and
//      disconnect it again, printing each answer.
//
// Usage: vel-app-example [--device ID] [--technology N] [--timeout SECONDS]
// Without --device it uses the first known device the service announces.
// Exits 0 when every step was answered, 1 on bad arguments, 2 when the
// service did not answer in time. Library log lines go to stderr.

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <list>
#include <mutex>
#include <string>
#include <vector>

#include "vel/VelCallBackApp.h"
#include "vel/VelComProxyApp.h"

namespace {

// Application client kinds are 100 to 105; this example is the first one.
const CLIENT_TYPE_e kClientType = static_cast<CLIENT_TYPE_e>(100);

std::mutex gPrintMutex;

void say(const std::string& text)
{
    std::lock_guard<std::mutex> lock(gPrintMutex);
    std::printf("%s\n", text.c_str());
    std::fflush(stdout);
}

std::string idOf(const DEVICE& device)
{
    return std::string(device.deviceId, strnlen(device.deviceId, sizeof(device.deviceId)));
}

// The library calls these on its own thread; the main thread waits for them.
class ExampleCallBack : public VelCallBackApp {
public:
    void onRcvMVELReady(bool ready) override
    {
        say(ready ? "The link to the service is up." : "The link to the service is down.");
        update([&] { mReady = ready; });
    }

    void onRcvUpdateKnownDevices(std::list<DEVICE>& devices, int) override
    {
        // The list belongs to the library: copy what is needed during the call.
        const std::vector<std::string> ids = printList("Known devices", devices);
        update([&] {
            mKnownIds = ids;
            mKnownListSeen = true;
        });
    }

    void onRcvUpdateDiscoveredDevices(std::list<DEVICE>& devices, int) override
    {
        printList("Discovered devices", devices);
    }

    void onRcvResponseConnectService(std::string deviceId, TECHNOLOGY_e technology, int result) override
    {
        say("Connect of " + deviceId + " (technology " + std::to_string(technology) +
            ") finished with result " + std::to_string(result) + ".");
        update([&] { ++mConnectAnswers; });
    }

    void onRcvResponseDisconnectService(std::string deviceId, TECHNOLOGY_e technology, int result) override
    {
        say("Disconnect of " + deviceId + " (technology " + std::to_string(technology) +
            ") finished with result " + std::to_string(result) + ".");
        update([&] { ++mDisconnectAnswers; });
    }

    bool waitUntilReady(std::chrono::seconds timeout)
    {
        return waitFor(timeout, [&] { return mReady; });
    }
    bool waitForKnownList(std::chrono::seconds timeout)
    {
        return waitFor(timeout, [&] { return mKnownListSeen; });
    }
    bool waitForConnectAnswer(std::chrono::seconds timeout)
    {
        return waitFor(timeout, [&] { return mConnectAnswers > 0; });
    }
    bool waitForDisconnectAnswer(std::chrono::seconds timeout)
    {
        return waitFor(timeout, [&] { return mDisconnectAnswers > 0; });
    }
    std::vector<std::string> knownIds()
    {
        std::lock_guard<std::mutex> lock(mMutex);
        return mKnownIds;
    }

private:
    static std::vector<std::string> printList(const char* title, const std::list<DEVICE>& devices)
    {
        std::vector<std::string> ids;
        std::string text = std::string(title) + " (" + std::to_string(devices.size()) + ")";
        for (const DEVICE& device : devices) {
            ids.push_back(idOf(device));
            text += (ids.size() == 1 ? ": " : ", ") + ids.back();
        }
        say(text + ".");
        return ids;
    }

    template <typename Change>
    void update(Change change)
    {
        {
            std::lock_guard<std::mutex> lock(mMutex);
            change();
        }
        mChanged.notify_all();
    }

    template <typename Predicate>
    bool waitFor(std::chrono::seconds timeout, Predicate predicate)
    {
        std::unique_lock<std::mutex> lock(mMutex);
        return mChanged.wait_for(lock, timeout, predicate);
    }

    std::mutex mMutex;
    std::condition_variable mChanged;
    bool mReady = false;
    bool mKnownListSeen = false;
    std::vector<std::string> mKnownIds;
    int mConnectAnswers = 0;
    int mDisconnectAnswers = 0;
};

struct Arguments {
    bool help = false;
    std::string device;
    unsigned technology = 2;
    int timeoutSeconds = 15;
};

bool parseArguments(int argc, char** argv, Arguments& arguments)
{
    for (int i = 1; i < argc; ++i) {
        const std::string option = argv[i];
        if (option == "--help" || option == "-h") {
            arguments.help = true;
            return true;
        }
        if (i + 1 >= argc) {
            return false;
        }
        const std::string value = argv[++i];
        if (option == "--device") {
            arguments.device = value;
        } else if (option == "--technology") {
            arguments.technology = static_cast<unsigned>(std::strtoul(value.c_str(), nullptr, 10));
        } else if (option == "--timeout") {
            arguments.timeoutSeconds = std::atoi(value.c_str());
        } else {
            return false;
        }
    }
    return arguments.timeoutSeconds > 0;
}

int giveUp(const std::string& what, int seconds)
{
    say("No answer from the service " + what + " within " + std::to_string(seconds) + " s; giving up.");
    return 2;
}

} // namespace

int main(int argc, char** argv)
{
    Arguments arguments;
    const bool parsed = parseArguments(argc, argv, arguments);
    if (!parsed || arguments.help) {
        std::fprintf(parsed ? stdout : stderr,
                     "usage: %s [--device ID] [--technology N] [--timeout SECONDS]\n"
                     "Connects to com.qor.vel_communicator on the system bus, prints the device lists it\n"
                     "announces, then connects and disconnects a service of --device (default: the first\n"
                     "known device). --technology defaults to 2, --timeout (per step) to 15 s.\n",
                     argv[0]);
        return parsed ? 0 : 1;
    }
    const std::chrono::seconds timeout(arguments.timeoutSeconds);

    // The facade keeps a pointer to the callback object for the rest of the
    // process, so the object must outlive it: a static made before the facade.
    static ExampleCallBack callback;

    say("Asking libvel for the application facade (client kind 100).");
    VelComProxyApp* app = VelComProxyApp::getInstance(kClientType, "vel-app-example", &callback);
    if (!app->doInitialize()) {
        say("The library could not start watching the service.");
        return 2;
    }
    say("Waiting for the service com.qor.vel_communicator ...");
    if (!callback.waitUntilReady(timeout)) {
        return giveUp("link", arguments.timeoutSeconds);
    }

    // A service announces its lists on its own; wait a little for the known one.
    if (!callback.waitForKnownList(std::chrono::seconds(2))) {
        say("No known-device list has arrived (yet).");
    }
    std::string device = arguments.device;
    if (device.empty()) {
        const std::vector<std::string> known = callback.knownIds();
        if (known.empty()) {
            say("No device to work with: pass --device ID or let the service announce a known device.");
            return 0;
        }
        device = known.front();
    }
    const TECHNOLOGY_e technology = static_cast<TECHNOLOGY_e>(arguments.technology);

    say("Is " + device + " paired? " + (app->checkPaired(device) ? "yes." : "no."));
    say(std::string("Is the maximum of paired devices reached? ") + (app->checkMaxPaired() ? "yes." : "no."));

    say("Connecting " + device + " with technology " + std::to_string(arguments.technology) + " ...");
    if (!app->doServiceConnect(device, technology, "")) {
        say("The connect request could not be sent.");
        return 2;
    }
    if (!callback.waitForConnectAnswer(timeout)) {
        return giveUp("to the connect request", arguments.timeoutSeconds);
    }

    say("Disconnecting " + device + " ...");
    if (!app->doServiceDisconnect(device, technology)) {
        say("The disconnect request could not be sent.");
        return 2;
    }
    if (!callback.waitForDisconnectAnswer(timeout)) {
        return giveUp("to the disconnect request", arguments.timeoutSeconds);
    }
    say("Done.");
    return 0;
}

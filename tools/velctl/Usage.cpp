// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "Usage.h"

namespace velctl {

namespace {

const char* const kGeneral = R"(Usage: velctl [OPTIONS] <kind> <command> [ARGUMENTS]

Talks to the MVEL device-connection service (com.qor.vel_communicator on the
system bus) through libvel, as one of its clients would, for debugging a head
unit. Every command first waits until the library reports the service ready.

Kinds:
  app          requests of an application client      (velctl app --help)
  core         queries of the core engine client      (velctl core --help)
  controller   control-mode changes                   (velctl controller --help)

Recordings (docs/record-replay.md):
  record FILE  record every call, reply, error and signal of the service's
               interface, with the device lists of every list notice, into
               FILE (JSON lines) until interrupted (Ctrl-C, SIGTERM); needs
               the right to monitor the bus (root). Exit 3 without it.
               FILE is new (--force overwrites) and readable by its owner
               only; secrets become a marker and personal identifiers
               (addresses, serials, names, SSIDs, host name) pseudonyms,
               unless --include-personal-info
  replay-diff RECORDING NEWRECORDING
               compare the calls of two recordings in order and print the
               first difference; exit 0 when they are the same, 1 when not

Options (anywhere on the line; "--" ends them):
  -h, --help               show this help, or a kind's help after the kind
  -v, --verbose            also print libvel's own log lines on stderr
                           (same as --log=stderr)
      --log=WHERE          where libvel's own log lines go: quiet (default),
                           stderr, or dlt (the DLT daemon, application VELL)
  -t, --timeout SECONDS    how long to wait for the service and for each
                           answer (1 to 3600, default 10)
  -c, --client-type KIND   client kind to register as: app 100 to 105
                           (default 100), core 200 to 203 (default 200);
                           the controller is always 400
      --show-secrets       print secrets (Wi-Fi passphrases) in answers and
                           log lines instead of ********
      --include-personal-info
                           record: keep secrets and personal identifiers
      --force              record: overwrite an existing FILE

Exit status:
  0  the command was carried out (answers are printed on stdout)
  1  the service did not answer in time or the request failed
  2  invalid command line
  3  the service was not reachable within the timeout

Errors are printed on stderr as one line starting with "velctl: ".
)";

const char* const kApp = R"(Usage: velctl [OPTIONS] app <command> [ARGUMENTS]

Acts as an application client (kinds 100 to 105). Needs the device store
(/data/qor/vel, /dev/shm) that the service publishes device lists in.

Commands:
  connect <deviceId> <technology> [deviceIdToReplace]
        ask the service to connect the device's service of that technology
        and print the completion when it arrives:
        "connect <deviceId> technology <technology>: result <result>"
  disconnect <deviceId> <technology>
        the same for a disconnection:
        "disconnect <deviceId> technology <technology>: result <result>"
  paired <deviceId>
        print "<deviceId>: paired" or "<deviceId>: not paired"
  max-paired
        print "maximum of paired devices reached: yes" (or "no")
  watch
        print every callback of the application client, one line each,
        device lists included, until interrupted (Ctrl-C, SIGTERM); exit 0

<technology> is the service's number of the technology, e.g. 4.
)";

const char* const kCore = R"(Usage: velctl [OPTIONS] core <command> [ARGUMENTS]

Acts as a core engine client (kinds 200 to 203) and asks the service
synchronously.

Commands:
  device-id <technology> [macAddress]
        print the device id the service assigned. Without a MAC address the
        technology must be 4, 5, 6, 7, 14 or 15; with one, any technology
        is sent along with the MAC address
  wifi-credentials
        print every Wi-Fi credentials record of the head unit, one line each:
        "ssid=... password=... channel=... security=... port=... ip=... bssid=..."
        (the password is printed as ******** unless --show-secrets)
  bt-mac
        print the head unit's Bluetooth MAC address
)";

const char* const kController = R"(Usage: velctl [OPTIONS] controller <command> [ARGUMENTS]

Acts as the controller client (kind 400).

Commands:
  mode <mode> <technology> <item>
        send a control-mode change; all three are unsigned numbers as the
        service defines them (item 2: restore factory settings). Prints
        "control mode <mode> sent for technology <technology>, item <item>"
)";

} // namespace

const char* generalUsage()
{
    return kGeneral;
}

const char* kindUsage(const std::string& kind)
{
    if (kind == "app") {
        return kApp;
    }
    if (kind == "core") {
        return kCore;
    }
    if (kind == "controller") {
        return kController;
    }
    return nullptr;
}

} // namespace velctl

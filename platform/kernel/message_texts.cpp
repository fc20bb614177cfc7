#include "platform/kernel/message_texts.h"

#include <algorithm>
#include <iterator>

namespace platform::kernel {

namespace {

struct Message {
  DWORD code;
  const char* text;
};

constexpr Message kSystemMessages[] = {
    {0, "The operation completed successfully."},
    {1, "Incorrect function."},
    {2, "The system cannot find the file specified."},
    {3, "The system cannot find the path specified."},
    {4, "The system cannot open the file."},
    {5, "Access is denied."},
    {6, "The handle is invalid."},
    {8, "Not enough memory resources are available to process this command."},
    {14, "Not enough memory resources are available to complete this operation."},
    {31, "A device attached to the system is not functioning."},
    {53, "The network path was not found."},
    {64, "The specified network name is no longer available."},
    {80, "The file exists."},
    {87, "The parameter is incorrect."},
    {109, "The pipe has been ended."},
    {111, "The file name is too long."},
    {122, "The data area passed to a system call is too small."},
    {126, "The specified module could not be found."},
    {183, "Cannot create a file when that file already exists."},
    {234, "More data is available."},
    {258, "The wait operation timed out."},
    {259, "No more data is available."},
    {317,
     "The system cannot find message text for message number 0x%1 in the message file for %2."},
    {1053, "The service did not respond to the start or control request in a timely fashion."},
    {1060, "The specified service does not exist as an installed service."},
    {1063, "The service process could not connect to the service controller."},
    {1066, "The service has returned a service-specific error code."},
    {1083,
     "The executable program that this service is configured to run in does not implement the "
     "service."},
    {1113, "No mapping for the Unicode character exists in the target multi-byte code page."},
    {1225, "The remote computer refused the network connection."},
    {1256,
     "The remote system is not available. For information about network troubleshooting, see "
     "Windows Help."},
    {1311, "There are currently no logon servers available to service the logon request."},
    {1326, "The user name or password is incorrect."},
    {1355, "The specified domain either does not exist or could not be contacted."},
    {1396, "The target account name is incorrect."},
    {1398, "There is a time and/or date difference between the client and server."},
    {1400, "Invalid window handle."},
    {1444, "Invalid thread identifier."},
    {1460, "This operation returned because the timeout period expired."},
    {1722, "The RPC server is unavailable."},
    {1727, "The remote procedure call failed and did not execute."},
    {1753, "There are no more endpoints available from the endpoint mapper."},
    {1919, "No site name is available for this machine."},
    {8224, "An operations error occurred."},
    {8240, "There is no such object on the server."},
    {8250, "The server is not operational."},
    {8418,
     "The replication operation failed because of a schema mismatch between the servers involved."},
    {8439, "The distinguished name specified for this replication operation is invalid."},
    {8446, "The replication operation failed to allocate memory."},
    {8451, "The replication operation encountered a database error."},
    {8452,
     "The naming context is in the process of being removed or is not replicated from the "
     "specified server."},
    {8453, "Replication access was denied."},
    {8456, "The source server is currently rejecting replication requests."},
    {8457, "The destination server is currently rejecting replication requests."},
    {8461, "The replication operation was preempted."},
    {8524, "The DSA operation is unable to proceed because of a DNS lookup failure."},
    {8614,
     "The directory service cannot replicate with this server because the time since the last "
     "replication with this server has exceeded the tombstone lifetime."},
    {10050, "A socket operation encountered a dead network."},
    {11001, "No such host is known."},
    {11002,
     "This is usually a temporary error during hostname resolution and means that the local server "
     "did not receive a response from an authoritative server."},
    {11003, "A non-recoverable error occurred during a database lookup."},
    {11004, "The requested name is valid, but no data of the requested type was found."},
};

// What the network's own library adds to the system's texts.
constexpr Message kNetworkMessages[] = {
    {2102, "The workstation driver is not installed."},
    {2103, "The server could not be located."},
    {2114, "The Server service is not started."},
    {2138, "The Workstation service has not been started."},
    {2182, "The requested service has already been started."},
    {2184, "The service has not been started."},
    {2185, "The service name is invalid."},
    {2221, "The user name could not be found."},
    {2250, "The network connection could not be found."},
    {2270, "The computer name could not be found."},
    {2453, "Could not find the domain controller for this domain."},
};

constexpr Message kCounterMessages[] = {
    {0x800007D0, "Unable to connect to the specified computer or the computer is offline."},
    {0x800007D1, "The specified instance is not present."},
    {0x800007D2,
     "There is more data to return than would fit in the supplied buffer. Allocate a larger buffer "
     "and call the function again."},
    {0x800007D3,
     "The data item has been added to the query but has not been validated nor accessed. No other "
     "status information on this data item is available."},
    {0x800007D5, "No data to return."},
    {0x800007D6, "A counter with a negative denominator value was detected."},
    {0x800007D7, "A counter with a negative time base value was detected."},
    {0x800007D8, "A counter with a negative value was detected."},
    {0xC0000BB8, "The specified object was not found on the computer."},
    {0xC0000BB9, "The specified counter could not be found."},
    {0xC0000BBA, "The returned data is not valid."},
    {0xC0000BBB,
     "A PDH function could not allocate enough temporary memory to complete the "
     "operation. Close some applications or extend the page file and retry the "
     "function."},
    {0xC0000BBC, "The handle is not a valid PDH object."},
    {0xC0000BBD, "A required argument is missing or incorrect."},
    {0xC0000BBE, "Unable to find the specified function."},
    {0xC0000BBF, "No counter was specified."},
    {0xC0000BC0,
     "Unable to parse the counter path. Check the format and syntax of the specified "
     "path."},
    {0xC0000BC1, "The buffer passed by the caller is not valid."},
    {0xC0000BC2,
     "The requested data is larger than the buffer supplied. Unable to return the "
     "requested data."},
    {0xC0000BC3, "Unable to connect to the requested computer."},
    {0xC0000BC4, "The specified counter path could not be interpreted."},
    {0xC0000BC5, "The instance name could not be read from the specified counter path."},
    {0xC0000BC6, "The data is not valid."},
    {0xC0000BC8, "Cannot read the counter name strings from the registry."},
    {0xC0000BD4, "The specified string was not found in the performance registry."},
    {0xC0000BDB,
     "Unable to access the desired computer or service. Check the permissions and "
     "authentication of the log service or the interactive user session against those "
     "on the computer or service being monitored."},
};

template <typename Table>
const char* find(const Table& table, DWORD code) {
  const auto entry = std::find_if(std::begin(table), std::end(table),
                                  [&](const Message& one) { return one.code == code; });
  return entry == std::end(table) ? nullptr : entry->text;
}

}  // namespace

const char* system_message(DWORD code) { return find(kSystemMessages, code); }
const char* network_message(DWORD code) { return find(kNetworkMessages, code); }
const char* counter_message(DWORD code) { return find(kCounterMessages, code); }

}  // namespace platform::kernel

#pragma once
// The few socket calls of the FTP client, kept apart so that the platform's socket headers
// are included in one file only.
#include <curl/curl.h>

#include <string>

namespace tavrix::ftp {

// True for the socket libcurl opens to listen for the unit's data connection in active
// mode (it asks for port 0); false for a control connection.
bool IsDataListener(const curl_sockaddr& address);

// A socket as libcurl asks for it, not handed on to programs this one starts.
curl_socket_t OpenSocket(const curl_sockaddr& address);

// The numeric address of the far end of a connected socket ("10.0.0.5", "::1"); empty when
// it cannot be read.
std::string PeerAddress(curl_socket_t socket);

// True when two numeric addresses name the same host: an IPv4 address written inside IPv6
// ("::ffff:10.0.0.5") is the same as its plain form, and a zone ("%eth0") is not compared.
bool SameHost(const std::string& a, const std::string& b);

}  // namespace tavrix::ftp

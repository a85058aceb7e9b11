#include "tests/support/NginxServer.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <stdexcept>

#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <tilvanego/platform/desktop/SpawnedProgram.h>

namespace tilvanego::test {
namespace {

constexpr const char* makeCertificate =
    "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -days 2 -batch -subj /CN=here "
    "-addext subjectAltName=IP:127.0.0.1 -keyout here.key -out here.pem 2>/dev/null";

constexpr std::string_view settings = R"(daemon off;
worker_processes 1;
pid nginx.pid;
events { worker_connections 1024; }
http {
  access_log off;
  client_body_temp_path temporary;
  proxy_temp_path temporary;
  fastcgi_temp_path temporary;
  uwsgi_temp_path temporary;
  scgi_temp_path temporary;
  sendfile on;
  tcp_nopush on;
  open_file_cache max=100;
  keepalive_requests 1000000000;
  large_client_header_buffers 64 32k;
  server_tokens off;
  lingering_close off;
  add_header X-Protocol $server_protocol always;
  add_header X-Connection $connection always;
  ssl_certificate here.pem;
  ssl_certificate_key here.key;
  map $request_uri $behind { ~^/to/(?<port>[0-9]+)(?<target>/.*) 127.0.0.1:$port$target; }
)";

constexpr std::string_view locations = R"(
location = /hello { return 200 "hello\n"; }
location = /sink { client_max_body_size 0; return 204; }
location /files/ { alias files/; }
location /zipped/ { alias files/; gzip on; gzip_types *; gzip_min_length 1; gzip_http_version 1.0; }
location /private/ { alias files/; auth_basic "shop"; auth_basic_user_file passwords; }
location /store/ { alias files/; client_max_body_size 0; dav_methods PUT; }
location /to/ {
  proxy_pass http://$behind;
  proxy_redirect ~^(?<there>/.*) /to/$port$there;
  proxy_http_version 1.1;
  proxy_buffering off;
  proxy_request_buffering off;
  proxy_buffer_size 128k;
  proxy_buffers 4 128k;
  client_max_body_size 0;
}
)";

std::string server(const FileDescriptor& socket, std::string_view ends) {
  return "  server { listen 127.0.0.1:" + std::to_string(portOf(socket)) + " reuseport" + std::string(ends) +
         " include locations; }\n";
}

std::string urlOf(std::string_view start, const FileDescriptor& socket, std::string_view path) {
  return std::string(start) + ":" + std::to_string(portOf(socket)) + std::string(path);
}

}  // namespace

NginxServer::NginxServer(const MoreServers& more) {
  const auto root = directory_.path();
  std::filesystem::create_directory(files());
  const auto certifying = detail::spawnProgram(
      {"sh", "-ec", "cd \"$1\"\n" + std::string(makeCertificate) + "\n" + more.commands, "sh", root});
  if (!certifying || !detail::waitForSuccess(*certifying)) {
    throw std::runtime_error("openssl made no certificate");
  }
  std::ofstream(root / "passwords") << "till:{PLAIN}s3cret pass\n";
  std::ofstream(root / "locations") << locations;
  std::string others;
  for (const auto& directives : more.servers)
    others += server(more_.emplace_back(heldPort()), " ssl http2; " + directives);
  std::ofstream(root / "nginx.conf") << (geteuid() == 0 ? "user root;\n" : "")  // the directory is its alone
                                     << settings << server(plain_, ";") << server(secure_, " ssl http2;")
                                     << server(oldSecure_, " ssl;") << others << "}\n";
  // Where an ordinary user's PATH may not lead.
  const std::string usual = "/usr/sbin/nginx";
  const auto program = std::filesystem::exists(usual) ? usual : "nginx";
  // Should the test program crash, nginx ends with it.
  const auto process = detail::spawnProgram({"setpriv", "--pdeathsig", "TERM", program, "-p",
                                             root.string() + "/", "-e", "error.log", "-c", "nginx.conf"});
  if (!process) throw std::runtime_error("nginx can't be started");
  process_ = *process;
  const auto isReady = [&] {
    return isListening(portOf(plain_)) && isListening(portOf(secure_)) && isListening(portOf(oldSecure_)) &&
           std::ranges::all_of(more_, [](const auto& socket) { return isListening(portOf(socket)); });
  };
  while (!isReady()) {
    if (waitpid(process_, nullptr, WNOHANG) != 0) {
      throw std::runtime_error("nginx ended at once: " + contentOf(root / "error.log"));
    }
    sched_yield();
  }
}

NginxServer::~NginxServer() {
  kill(process_, SIGTERM);
  while (waitpid(process_, nullptr, 0) < 0 && errno == EINTR) {
  }
}

std::string NginxServer::url(std::string_view path) const { return urlOf("http://127.0.0.1", plain_, path); }
std::string NginxServer::secureURL(std::string_view path, std::string_view host) const {
  return urlOf("https://" + std::string(host), secure_, path);
}
std::string NginxServer::oldSecureURL(std::string_view path) const {
  return urlOf("https://127.0.0.1", oldSecure_, path);
}
std::string NginxServer::moreURL(std::size_t index, std::string_view path) const {
  return urlOf("https://127.0.0.1", more_.at(index), path);
}

}  // namespace tilvanego::test

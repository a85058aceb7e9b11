#include "tests/support/NginxServer.h"

#include <cerrno>
#include <csignal>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <tilvanego/platform/desktop/SpawnedProgram.h>

namespace tilvanego::test {
namespace {

std::string contents(const std::filesystem::path& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

// Where an ordinary user's PATH may not lead.
std::string program() {
  const std::string usual = "/usr/sbin/nginx";
  return std::filesystem::exists(usual) ? usual : "nginx";
}

std::string listenLine(const FileDescriptor& socket, std::string_view more = {}) {
  return "    listen 127.0.0.1:" + std::to_string(portOf(socket)) + " reuseport" + std::string(more) + ";\n";
}

// What all of its servers answer.
std::string locations() {
  std::ostringstream text;
  text << R"(
    location = /hello { return 200 "hello\n"; }
    location = /sink { client_max_body_size 0; return 204; }
    location /files/ { alias files/; }
    location /zipped/ { alias files/; gzip on; gzip_types *; gzip_min_length 1; gzip_http_version 1.0; }
    location /private/ { alias files/; auth_basic "shop"; auth_basic_user_file passwords; }
    location /store/ { alias files/; client_max_body_size 0; dav_methods PUT DELETE; }
)";
  for (const int status : NginxServer::statuses()) {
    text << "    location = /status/" << status << " { return " << status << "; }\n";
  }
  return text.str();
}

}  // namespace

const std::vector<int>& NginxServer::statuses() {
  static const std::vector<int> all{200, 201, 202, 204, 299, 300, 304, 400, 401, 403, 404, 405,
                                    409, 410, 413, 418, 422, 429, 500, 501, 502, 503, 504, 599};
  return all;
}

NginxServer::NginxServer()
    : files_(directory_.path() / "files"),
      plain_(sharedPort()),
      secure_(sharedPort()),
      oldSecure_(sharedPort()),
      otherSecure_(sharedPort()) {
  std::filesystem::create_directory(files_);
  makeCertificate("here", "DNS:localhost,IP:127.0.0.1");
  makeCertificate("elsewhere", "DNS:elsewhere.test");
  std::ofstream(directory_.path() / "passwords") << "till:{PLAIN}s3cret pass\n";
  std::ofstream(directory_.path() / "nginx.conf") << configuration();
  start();
}

NginxServer::~NginxServer() {
  kill(process_, SIGTERM);
  while (waitpid(process_, nullptr, 0) < 0 && errno == EINTR) {
  }
}

void NginxServer::makeCertificate(std::string_view name, std::string_view alternativeNames) const {
  const auto path = (directory_.path() / name).string();
  const auto process = detail::spawnProgram(
      {"sh", "-c",
       "exec openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -days 2 -batch "
       "-subj \"$1\" -addext \"$2\" -keyout \"$3.key\" -out \"$3.pem\" 2>/dev/null",
       "sh", "/CN=" + std::string(name), "subjectAltName=" + std::string(alternativeNames), path});
  if (!process || !detail::waitForSuccess(*process)) throw std::runtime_error("openssl made no certificate");
}

std::string NginxServer::configuration() const {
  std::ostringstream text;
  if (geteuid() == 0) text << "user root;\n";  // the directory is the user's alone
  text << R"(daemon off;
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
  server_tokens off;
  lingering_close off;
  add_header X-Protocol $server_protocol always;
  add_header X-Connection $connection always;
  add_header X-Seen $http_x_seen always;
)";
  text << "  server {\n" << listenLine(plain_) << locations() << "  }\n";
  struct Secure {
    const FileDescriptor& socket;
    const char* protocols;
    const char* name;
  };
  for (const auto& [socket, protocols, name] : {Secure{secure_, " ssl http2", "here"},
                                                {oldSecure_, " ssl", "here"},
                                                {otherSecure_, " ssl http2", "elsewhere"}}) {
    text << "  server {\n"
         << listenLine(socket, protocols) << "    ssl_certificate " << name
         << ".pem;\n    ssl_certificate_key " << name << ".key;\n"
         << locations() << "  }\n";
  }
  text << "}\n";
  return text.str();
}

void NginxServer::start() {
  const auto directory = directory_.path().string();
  // Should the test program crash, nginx ends with it.
  const auto process = detail::spawnProgram({"setpriv", "--pdeathsig", "TERM", program(), "-p",
                                             directory + "/", "-e", "error.log", "-c", "nginx.conf"});
  if (!process) throw std::runtime_error("nginx can't be started");
  process_ = *process;
  const auto isReady = [this] {
    return isListening(portOf(plain_)) && isListening(portOf(secure_)) && isListening(portOf(oldSecure_)) &&
           isListening(portOf(otherSecure_));
  };
  while (!isReady()) {
    if (waitpid(process_, nullptr, WNOHANG) != 0) {
      throw std::runtime_error("nginx ended at once: " + contents(directory_.path() / "error.log"));
    }
    sched_yield();
  }
}

std::filesystem::path NginxServer::certificate() const { return directory_.path() / "here.pem"; }
std::filesystem::path NginxServer::otherCertificate() const { return directory_.path() / "elsewhere.pem"; }

std::string NginxServer::url(std::string_view path) const {
  return "http://127.0.0.1:" + std::to_string(portOf(plain_)) + std::string(path);
}
std::string NginxServer::secureURL(std::string_view path, std::string_view host) const {
  return "https://" + std::string(host) + ":" + std::to_string(portOf(secure_)) + std::string(path);
}
std::string NginxServer::oldSecureURL(std::string_view path) const {
  return "https://127.0.0.1:" + std::to_string(portOf(oldSecure_)) + std::string(path);
}
std::string NginxServer::otherSecureURL(std::string_view path) const {
  return "https://127.0.0.1:" + std::to_string(portOf(otherSecure_)) + std::string(path);
}

}  // namespace tilvanego::test

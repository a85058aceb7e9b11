#include <iostream>

#include <tilvanego/Models.h>
#include <tilvanego/http_client/URLSessionImplementations.h>

using namespace tilvanego;

// Stands for a host: it knows the install tree alone. Nothing is sent.
int main() {
  const auto builder = makeRequestBuilder<models::TransactionResponse>(
      {.method = "GET", .URLString = "https://terminal.example/transactions/000000000042"});
  std::cout << builder->method << ' ' << builder->URLString << '\n';
  return builder->bodyType.name.empty() ? 1 : 0;
}

#include <iostream>

#include <tilvanego/HTTPClient.h>
#include <tilvanego/Models.h>
#include <tilvanego/TilvaneGo.h>

using namespace tilvanego;

// Stands for a host: it knows the install tree alone. Nothing is sent. What it instantiates from headers must
// link.
int main() {
  const auto builder = makeRequestBuilder<models::TransactionResponse>(
      {.method = "GET", .URLString = "https://terminal.example/transactions/000000000042"});
  std::cout << builder->method << ' ' << builder->URLString << '\n';
  const auto transaction = json::decode<TilvaneGoTransaction>(R"({"amount":1,"transactionDetails":{}})");
  const auto trace = models::decode<models::Trace>("{}");
  const bool read =
      transaction && json::encode(*transaction) && trace && models::encode(*trace) && trace == *trace;
  return builder->bodyType.name.empty() || !read ? 1 : 0;
}

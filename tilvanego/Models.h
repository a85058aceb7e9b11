#pragma once

/// All of TilvaneGo::Models: the records of a terminal's HTTP interface (POI, point of interaction), their
/// catalogue, and the functions that read, write and check them. The header of one family compiles faster.
#include <tilvanego/Version.h>
#include <tilvanego/json/JSON.h>
#include <tilvanego/json/JSONValue.h>
#include <tilvanego/models/Amounts.h>
#include <tilvanego/models/Catalogue.h>
#include <tilvanego/models/Enumerations.h>
#include <tilvanego/models/Errors.h>
#include <tilvanego/models/Parties.h>
#include <tilvanego/models/TerminalCommands.h>
#include <tilvanego/models/Trace.h>
#include <tilvanego/models/TransactionRequests.h>
#include <tilvanego/models/TransactionResponses.h>
#include <tilvanego/validation/Validator.h>

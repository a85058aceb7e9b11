#pragma once

/// The description of every operation.
#include <tilvanego/operations/CaptureOperation.h>
#include <tilvanego/operations/ClearDataOperation.h>
#include <tilvanego/operations/FullRefundOperation.h>
#include <tilvanego/operations/InitializationOperation.h>
#include <tilvanego/operations/PartialRefundOperation.h>
#include <tilvanego/operations/RebootOperation.h>
#include <tilvanego/operations/SaveOperation.h>
#include <tilvanego/operations/TransactionListOperation.h>
#include <tilvanego/payment/PaymentOperation.h>

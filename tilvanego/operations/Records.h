#pragma once

/// The records of every operation.
#include <tilvanego/operations/Capture.h>
#include <tilvanego/operations/ClearData.h>
#include <tilvanego/operations/FullRefund.h>
#include <tilvanego/operations/Initialization.h>
#include <tilvanego/operations/PartialRefund.h>
#include <tilvanego/operations/Reboot.h>
#include <tilvanego/operations/Save.h>
#include <tilvanego/operations/TransactionList.h>
#include <tilvanego/payment/PaymentRequest.h>
#include <tilvanego/payment/PaymentResult.h>

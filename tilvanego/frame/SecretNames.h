#pragma once

/// `secretNamed` and `isSecretName`, by their former path.
#include <tilvanego/values/SecretNames.h>

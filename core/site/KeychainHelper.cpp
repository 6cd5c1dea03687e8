#include "core/site/KeychainHelper.h"

#include <utility>

namespace harbor {

KeychainError::KeychainError(Case kind, std::string description)
    : kind_(kind)
    , description_(std::move(description))
{
}

KeychainError KeychainError::saveFailed(std::string const& statusMessage)
{
    return { Case::saveFailed, "Keychain save failed: " + statusMessage };
}

KeychainError KeychainError::readFailed(std::string const& statusMessage)
{
    return { Case::readFailed, "Keychain read failed: " + statusMessage };
}

KeychainError KeychainError::deleteFailed(std::string const& statusMessage)
{
    return { Case::deleteFailed, "Keychain delete failed: " + statusMessage };
}

KeychainError KeychainError::unexpectedData()
{
    return { Case::unexpectedData, "Unexpected Keychain data format." };
}

KeychainError KeychainError::itemNotFound() { return { Case::itemNotFound, "Keychain item not found." }; }

}  // namespace harbor

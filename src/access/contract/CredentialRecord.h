// AccessManagement::CredentialRecord: one credential entry of a profile as the vault stores it. The
// record never holds the secret itself: the vault keeps it and answers a reference to it.
#pragma once

#include "common/Guid.h"
#include "common/WideString.h"

#include <cstdint>

namespace AccessManagement
{

struct CredentialRecord
{
    std::uint32_t Kind = 0;
    // The entry's name within its type key; the empty name is the type key's default entry.
    Common::WideString Name;
    // The credential the entry stands for; all zero means none.
    Common::Guid Id;
    Common::WideString User;
    // Set by the vault when a secret is stored; empty when the entry has none.
    Common::WideString SecretReference;
    Common::WideString Description;
    std::uint32_t Flag = 0x7FFFFFFF;

    friend bool operator==(const CredentialRecord&, const CredentialRecord&) = default;
};

} // namespace AccessManagement

// The type keys under which a profile keeps its credentials, and the access modes of a read. Of the
// keys the system itself reads only AnyArchive, the password that opens every archive of the machine.
#pragma once

#include <cstdint>
#include <string_view>

namespace AccessManagement
{

namespace CredentialScopes
{
inline constexpr std::string_view MsSql = "ms_sql";
inline constexpr std::string_view MsExchange = "ms_exchange";
inline constexpr std::string_view Location = "location";
inline constexpr std::string_view Archive = "archive";
inline constexpr std::string_view NetworkStorage = "network_storage";
inline constexpr std::string_view WindowsRemoteInstall = "windows_remote_install";
inline constexpr std::string_view VmGuestSystem = "vm_guest_system";
inline constexpr std::string_view Machine = "machine";
inline constexpr std::string_view ProtectionTarget = "protection_target";
inline constexpr std::string_view Ldap = "ldap";
inline constexpr std::string_view EsxRoot = "esx_root";
inline constexpr std::string_view MsSqlAag = "ms_sql_aag";
inline constexpr std::string_view LocationScript = "location_script";
inline constexpr std::string_view Scale = "scale";
inline constexpr std::string_view Ovirt = "ovirt";
inline constexpr std::string_view SslCert = "ssl_cert";
inline constexpr std::string_view Veil = "veil";
inline constexpr std::string_view MySql = "mysql";
inline constexpr std::string_view OneClickRecovery = "one_click_recovery";
inline constexpr std::string_view Nutanix = "nutanix";
inline constexpr std::string_view RebootSysinfo = "reboot_sysinfo";
inline constexpr std::string_view AnyArchive = "_any_archive_";
} // namespace CredentialScopes

// Bits of a read's access mode. A read always answers the record; only Reveal hands out the secret.
namespace AccessMode
{
inline constexpr std::uint32_t Read = 0x2;
inline constexpr std::uint32_t Reveal = 0x4;
// What a caller that uses the secret asks for.
inline constexpr std::uint32_t ReadSecret = Read | Reveal;
} // namespace AccessMode

} // namespace AccessManagement

// The fixed GUIDs of alert identity: the two commands that count as a backup, the command whose failure
// does not escalate, the queued backup command, the seeds of the two machine alerts and the keys that
// separate the timers of one subject.
#pragma once

#include "common/Guid.h"

namespace Alerts
{

// 8F01AC13-F59E-4851-9204-DE1FD77E36B4: a command treated as backup.
inline constexpr Common::Guid BackupCommandID{
    0x8F01AC13, 0xF59E, 0x4851, {0x92, 0x04, 0xDE, 0x1F, 0xD7, 0x7E, 0x36, 0xB4}};
// D332948D-A7A9-4E07-B76C-253DCF6E17FB: a command treated as backup; also marks a backup plan run.
inline constexpr Common::Guid BackupPlanCommandID{
    0xD332948D, 0xA7A9, 0x4E07, {0xB7, 0x6C, 0x25, 0x3D, 0xCF, 0x6E, 0x17, 0xFB}};
// 4B40E257-1B18-47F2-AA94-72A4B1D6E4DF: a failing command that does not escalate to its parent backup.
inline constexpr Common::Guid NonEscalatingCommandID{
    0x4B40E257, 0x1B18, 0x47F2, {0xAA, 0x94, 0x72, 0xA4, 0xB1, 0xD6, 0xE4, 0xDF}};
// 9832838C-D1F6-484C-83B0-3C87D4CDEEAA: the command the pending subscription watches.
inline constexpr Common::Guid QueuedBackupCommandID{
    0x9832838C, 0xD1F6, 0x484C, {0x83, 0xB0, 0x3C, 0x87, 0xD4, 0xCD, 0xEE, 0xAA}};
// F7E29F33-9D5C-48D7-85E2-241FE93D61F2
inline constexpr Common::Guid EncryptionPasswordAlertSeed{
    0xF7E29F33, 0x9D5C, 0x48D7, {0x85, 0xE2, 0x24, 0x1F, 0xE9, 0x3D, 0x61, 0xF2}};
// 14C1EACC-F9EC-404A-9969-0633888FEAFF
inline constexpr Common::Guid IncompleteMachineInfoAlertSeed{
    0x14C1EACC, 0xF9EC, 0x404A, {0x99, 0x69, 0x06, 0x33, 0x88, 0x8F, 0xEA, 0xFF}};
// E63B3DE2-5D7E-11E5-8D41-8B181E5D46B0
inline constexpr Common::Guid ProgressAlertKey{
    0xE63B3DE2, 0x5D7E, 0x11E5, {0x8D, 0x41, 0x8B, 0x18, 0x1E, 0x5D, 0x46, 0xB0}};
// 7F33F815-ABF0-4239-816F-E74041788C4B
inline constexpr Common::Guid NotRespondingTimerKey{
    0x7F33F815, 0xABF0, 0x4239, {0x81, 0x6F, 0xE7, 0x40, 0x41, 0x78, 0x8C, 0x4B}};

} // namespace Alerts

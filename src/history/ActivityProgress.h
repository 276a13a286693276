// Tol::History::Plain::ActivityProgress and the classes derived from it: the progress of an activity,
// without an end (InfiniteProgress), counted (CoreProgress, also tagged "Core::Progress") or with item
// and byte counts (ExtendedActivityProgress). Schema classes (see SchemaObject.h for the members every
// one has).
#pragma once

#include "history/SchemaObject.h"

namespace Tol::History::Plain
{

class ActivityProgress : public Por::BaseObject
{
    TOL_HISTORY_CLASS(ActivityProgress)
};

class InfiniteProgress : public ActivityProgress
{
    TOL_HISTORY_CLASS(InfiniteProgress)
};

class CoreProgress : public ActivityProgress
{
    TOL_HISTORY_CLASS(CoreProgress)

    std::uint32_t GetTotal() const;
    void SetTotal(const std::uint32_t& value);
    std::uint32_t GetCurrent() const;
    void SetCurrent(const std::uint32_t& value);
    Por::String GetMessage() const;
    void SetMessage(const Por::String& value);
    Por::Blob GetApplicationData() const;
    void SetApplicationData(const Por::Blob& value);
    // When the progress last moved.
    std::int64_t GetTimestamp() const;
    void SetTimestamp(const std::int64_t& value);
};

class ExtendedActivityProgress : public CoreProgress
{
    TOL_HISTORY_CLASS(ExtendedActivityProgress)

    Por::String GetItemName() const;
    void SetItemName(const Por::String& value);
    std::uint32_t GetTotalItems() const;
    void SetTotalItems(const std::uint32_t& value);
    std::uint32_t GetItemsProcessed() const;
    void SetItemsProcessed(const std::uint32_t& value);
    std::uint32_t GetItemsDeleted() const;
    void SetItemsDeleted(const std::uint32_t& value);
    // The three byte counts ("Measure" "byte").
    std::uint64_t GetBytesProcessed() const;
    void SetBytesProcessed(const std::uint64_t& value);
    std::uint64_t GetBytesSaved() const;
    void SetBytesSaved(const std::uint64_t& value);
    std::uint64_t GetBytesDeduped() const;
    void SetBytesDeduped(const std::uint64_t& value);
    double GetProgressSpeed() const;
    void SetProgressSpeed(const double& value);
    std::int64_t GetEstimatedTime() const;
    void SetEstimatedTime(const std::int64_t& value);
    std::int64_t GetElapsedTime() const;
    void SetElapsedTime(const std::int64_t& value);
    // An array of any units.
    Por::UnitPtr GetAdditionalContext() const;
    void SetAdditionalContext(const Por::View::Unit& value);
};

} // namespace Tol::History::Plain

// The System V segment that holds one shared record: its key file, creation, attachment and removal. The only place in
// the library that calls shm*.
//
// The segment's key is made from the file "/tmp/" + instance name, which its creator makes and no process removes. The
// creator owns the segment and removes it in the end; all other processes attach to it. A record counts as there once
// its size word holds the family's size, which the creator writes last. Failures are reported in the family's name.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <sys/types.h>

namespace qzsignal {

class RecordResetLock;

// What distinguishes one family of shared records from another.
struct RecordFamily {
    char const* d_label; // class name in messages
    std::size_t d_size;  // bytes of the record, and the value of its size word
    int d_permissions;   // of the segment
};

// What came of creating a segment.
struct CreatedSegment {
    bool d_found = false;     // there is a segment; false: `key` and `shmId` tell how far it came
    void* d_record = nullptr; // its address; null: not attached
};

// Creates the key file and the segment, or takes over an existing segment, and makes sure that its mutex works; the
// lock is then held by `lock`, if it can be had. `shmId` changes only if there is a segment.
CreatedSegment createSegment(RecordFamily const& family, std::string const& instance, key_t& key, int& shmId,
                             RecordResetLock& lock);

enum class Waiting { Reported, Quiet };

// Attaches to the segment of an initialised record of this family. Returns its address; null if there is none yet,
// which is a warning, or if attaching fails, which is an error. Neither is reported if `waiting` is quiet.
void* attachSegment(RecordFamily const& family, std::string const& instance, key_t& key, int& shmId, Waiting waiting);

// The same for a process that may read the segment and not write it, without a report. The record must not be locked.
void* attachReadOnly(RecordFamily const& family, std::string const& instance);

// The same for a segment that is known by its id and its size, whatever its name: for reading alone, if this process
// may not write it. Nothing is reported.
void* attachKnown(RecordFamily const& family, int shmId, std::size_t bytes, bool& isReadOnly);

// Detaches from a record.
void detachSegment(RecordFamily const& family, std::string const& instance, void* record);

// Detaches from the record of a signal that is destroyed, and removes its segment if it is the signal's own (`owner`).
// Nothing is attached if the record was not meant to be `shared`, or if there is no segment (`shmId` negative).
void releaseSegment(RecordFamily const& family, std::string const& instance, bool shared, bool owner, int shmId,
                    void* record);

void withdrawRecord(std::uint32_t& size); // takes back the sign that the record is initialised
void publishRecord(std::uint32_t& size, RecordFamily const& family); // gives the sign

} // namespace qzsignal

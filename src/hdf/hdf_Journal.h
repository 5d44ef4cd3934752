#ifndef VEL_HDF_HDF_JOURNAL_H
#define VEL_HDF_HDF_JOURNAL_H

#include <hdf5.h>

// The journaled file driver: an HDF5 virtual file driver over a POSIX file that keeps the file
// on disk exactly as it was at its last commit, whatever HDF5 writes in between, so that a
// process killed at any moment leaves a file that opens with its last committed state.
//
// The rule it keeps: everything below the committed end (the allocated end of the file at the
// last commit) belongs to the committed state and is never changed in place between commits.
//
//   - A write at or beyond the committed end goes straight to the file: nothing committed lives
//     there, so a kill leaves bytes that no committed structure refers to.
//   - A metadata write below the committed end (an object header, a B-tree or heap node, the
//     superblock) is kept in memory, in an overlay that every later read sees.
//   - A raw-data write below the committed end goes straight to the file (a dataset written in
//     place keeps whatever reached the file at a kill), except while a commit is being prepared
//     (BeginCommit to Commit) and into space that HDF5 gave back below the committed end since
//     the last commit: there it is kept in the overlay too.
//
// Commit writes the overlay as a journal behind the end of the file, ends it with a trailer
// that carries its length and a checksum, applies it in place and cuts the file back to its
// allocated end.  A kill before the trailer is whole leaves the previous state (the torn journal
// lies beyond the allocated end, where HDF5 does not look); a kill after it leaves a journal
// that the next open applies again before HDF5 reads anything (a read-only open reads through
// it instead).  HDF5's own H5Fflush therefore makes nothing durable by itself: the storage
// layer's Flush commits after it, and closing the file commits what the close wrote.
//
// Metadata and raw data never trade places: freed metadata space is reused only for metadata
// (the driver's free lists keep the two apart, as the default driver's do), so raw data written
// straight to the file never lands on a committed structure.
//
// The files are ordinary HDF5 files: the driver stores nothing in the superblock, and any HDF5
// reader opens them.  A file whose last commit was cut off while it was being applied holds a
// journal at its end that only this driver applies; other readers see a partly applied state
// until the file has been opened once through the library.
struct hdf_Journal {
    // Makes `access` (a file-access property list) open files through the driver, with a
    // metadata cache of a fixed 256 KiB that lets the entries of a closed object go (evict on
    // close): HDF5 1.10 visits every cached entry at every flush, so without a bound a
    // checkpoint would cost more the more the cache had seen.  Read-only files evict too: HDF5
    // refuses to open a file again, read-only, while an object of it is still open with another
    // eviction setting.  Throws hdf_Exception when HDF5 refuses.
    static void Use(hid_t access);
    // Whether `file` (any identifier in a file) was opened through the driver.
    static bool IsJournaled(hid_t file);

    // From here until Commit, raw-data writes below the committed end are kept for the commit
    // as well, so that the caller's write-back reaches the file in one step.
    static void BeginCommit(hid_t file);
    // From here until the next Commit, raw-data writes below the committed end are kept for
    // the commit.  A filtered chunk rewritten in place must not be torn by a kill: half a
    // compressed chunk decodes to nothing, where half a raw one still holds the old values.
    static void KeepRawWrites(hid_t file);
    // Makes everything HDF5 has handed to the driver part of the committed state, in one step
    // that a kill cannot split.  Without `sync` the result survives the death of the process;
    // with it the file's data and the journal are forced to stable storage (fsync) in an order
    // that survives a power loss too.  A file not opened through the driver is left alone.
    // Throws hdf_Exception on a storage failure; the committed state is then the previous one.
    static void Commit(hid_t file, bool sync);

    // Gives up the changes since the last commit: the file keeps its last commit and commits
    // nothing more (closing it included).  A failed write or commit does this by itself.
    static void Abandon(hid_t file);
    // The flag that tells whether the file has been given up (a write or a commit failed, or
    // Abandon); valid while the file is open, null for a file of another driver.
    static const bool* FailureFlag(hid_t file);

    // Storage faults on demand, for tests: the `nth` read, write or commit of the file from now
    // on fails as a failing disk would (EIO).  A failed write or commit gives the file up.
    enum Fault { e_Read, e_Write, e_Commit };
    static void InjectFault(hid_t file, Fault kind, int nth);
};

#endif

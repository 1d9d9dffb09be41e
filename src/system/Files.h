#pragma once

#include <cstdint>

#include "KSmthExport.h"

// Files by 8-bit path. An open file is a record of a fixed pool. Failures answer null, false, -1 or a short
// count; no call throws or keeps a pointer to the caller's text.
//
// Paths come in three forms that name the same file: a bare POSIX path; "!:" and the path, as the host writes
// it (an exclamation mark takes the character behind it along, whatever it is); "file:" and the path. A form
// is taken off twice over, so that a path wrapped in both opens as well. A path of `kMaxPath` bytes or more,
// an empty one and a null one are refused.
//
// Positions and sizes are bytes, signed 32-bit: 2^31 - 1 is the last position. A longer file does not open,
// and nothing reads, writes or seeks beyond that position. Folders, pipes and sockets do not open; devices do
// and count as files of size 0.

/// Bytes of the longest path that is served, its NUL included.
constexpr std::int32_t kMaxPath = 4096;
/// Records of the pool: as many files are open at the same time at most.
constexpr std::int32_t kMaxOpenFiles = 128;

/// A file, open or only named. All zero is a record that names nothing. Owns no memory, and a copy is no
/// second file: what is open is closed once, through the record that opened it.
struct KSMTH_API FileSpec {
  /// How the platform finds the file: its path, without a prefix. A relative path is looked up from the
  /// current folder at each use.
  struct FSRef {
    char path[kMaxPath];
  };
  /// The old style of naming: folder by number, file by name.
  struct FSSpec {
    std::uint64_t volume;  ///< Number of the device that the folder is on.
    std::uint64_t folder;  ///< Inode of the folder; 0 while the record is not filled.
    char name[256];        ///< Name in the folder.
  };

  FSRef ref;
  std::int32_t forkRefNum;    ///< Descriptor; valid while open.
  std::int32_t isOpen;        ///< Non-zero while open; a pool record with 0 is free.
  std::int32_t fsSpecCached;  ///< Non-zero once `fsSpec` is filled.
  FSSpec fsSpec;

  /// The old-style name of this record, filled on the first use after `MakeFileSpec`. Never null and lives
  /// as long as the record. All zero where the file is not there (a later call looks again).
  FSSpec* GetFSSpec();
};

// The names are fixed by the host's contract.
// NOLINTBEGIN(bugprone-reserved-identifier)
/// The pool.
KSMTH_API extern FileSpec _fileSpec[kMaxOpenFiles];
/// Files opened and not yet closed.
KSMTH_API extern std::int32_t _openFilesCount;
// NOLINTEND(bugprone-reserved-identifier)
/// 1 once a `Sys_FileWrite` has written less than it was asked to, or a close has met data that the disk
/// would not take. Cleared by every `Sys_FileOpen` and by the calls that begin with one.
KSMTH_API extern std::int32_t gIncompleteSaveCount;

/// Looks `path` up and fills `spec` with it, or for a null `spec` the first free record of the pool, which is
/// not reserved by that. Answers the record. Folders are found as well.
///
/// Null for a path that is refused or cannot be followed, when the pool is full, and for a missing file. With
/// `mustExist` false a missing file in a folder that is there answers the record, which then says no more
/// than that. `flag` is what other platforms hand to their look-up; it changes nothing here.
KSMTH_API FileSpec* MakeFileSpec(const char* path, bool mustExist, FileSpec* spec, bool flag);

/// Opens a file that is there, at position 0, for reading or (`write`) reading and writing. Programs that the
/// process starts do not inherit it. Null where it cannot be opened so, is longer than 2^31 - 1 bytes, or
/// `kMaxOpenFiles` are open. The record stays the pool's; `Sys_FileClose` releases it.
KSMTH_API FileSpec* Sys_FileOpen(const char* path, bool write);

/// The same, and a missing file is created empty when `write` is true. Its folder must be there; the file
/// gets the permissions that the process gives by default, and its name as `path` spells it. Null where
/// neither opens; nothing is then left behind. `fileType` (four letters in one number) is not used.
///
/// Where the fourth character from the end is a dot, the folder is looked for with the last three characters
/// in lower case: "X.A/b" is not created unless there is a folder "X.a", too.
KSMTH_API FileSpec* Sys_FileOpenOrCreate(const char* path, bool write, std::int32_t fileType);

/// Closes a file; with `setEndOfFile` it is first cut at the current position. Nothing for null or a file
/// that is not open. A descriptor that somebody else has closed leaves the record open and counted: it may by
/// then be another file's. Any other failure of the platform's close releases the record all the same, since
/// the descriptor is gone, and sets `gIncompleteSaveCount`.
KSMTH_API void Sys_FileClose(FileSpec* file, bool setEndOfFile);

/// Reads at most `count` bytes into `buffer` and answers how many: fewer only at the end of the file or on an
/// error. 0 for a file that is not open, a null buffer and a count below 1.
KSMTH_API std::int32_t Sys_FileRead(FileSpec* file, void* buffer, std::int32_t count);
/// Writes `count` bytes and answers how many were: fewer on a full disk or another error (0 of a null
/// buffer), and then sets `gIncompleteSaveCount`.
KSMTH_API std::int32_t Sys_FileWrite(FileSpec* file, const void* buffer, std::int32_t count);

/// `Sys_FileRead` that reverses the bytes that it has read: one number of the other byte order.
KSMTH_API std::int32_t Sys_FileReadReverse(FileSpec* file, void* buffer, std::int32_t count);
/// Writes the `count` bytes of `buffer` last byte first and answers how many were written. `buffer` is
/// reversed for the time of the call and afterwards is as it was. Does not set `gIncompleteSaveCount`, which
/// speaks for the data of `Sys_FileWrite` alone.
KSMTH_API std::int32_t Sys_FileWriteReverse(FileSpec* file, void* buffer, std::int32_t count);

/// Moves to `offset` from the beginning, or from the current position when `relative`, and answers the new
/// position. A target beyond the end extends the file with zeros up to it.
///
/// -1 for a file that is not open; for a target below 0 or above 2^31 - 1, with the position as it was; and
/// for a file that cannot be extended (one open for reading), which is then at its end.
KSMTH_API std::int32_t Sys_FileSeek(FileSpec* file, std::int32_t offset, bool relative);
/// Current position; -1 for a file that is not open or has none (a terminal).
KSMTH_API std::int32_t Sys_FileGetPos(FileSpec* file);
/// Size in bytes; 0 for a file that is not open, -1 for one that has grown beyond 2^31 - 1 meanwhile.
KSMTH_API std::int32_t Sys_FileGetSize(FileSpec* file);
/// Cuts or extends the file to end at the current position. Nothing where it cannot be.
KSMTH_API void Sys_SetEndOfFile(FileSpec* file);

/// True when `Sys_FileOpen` can open the file so at the moment. The name's spelling is fixed by
/// the host's contract, here and below.
KSMTH_API bool Sys_FileAvialable(const char* path, bool write);

/// Deletes a file of any size; 0 when it is gone, -1 when it cannot be deleted. What cannot be opened for
/// reading counts as gone, a folder too: fixed by the host's contract.
KSMTH_API int Sys_FileDelete(const char* path);

/// Puts the wanted parts of `path` together in `out`, in the order folder, name, extension. True if every
/// wanted part was found; the others are written all the same. `out` needs the length of `path` and a NUL; it
/// may be `path` itself, and null answers false.
///
/// The extension is a dot that stands fourth from the end, with the letters and digits behind it, unless the
/// path ends with a delimiter (`STR_IsDelimiter`); the name ends before that dot, else with the path. So
/// ".jpeg" is part of the name, and what follows a character that is neither letter nor digit is dropped. The
/// folder is all before the name, the delimiter included, but only in a path whose second character is a
/// colon ("!:/a/b", "C:\a\b"): any other path is all name and extension.
///
/// Backslashes and colons come out as slashes; not so the first two characters of `out` when the second is
/// a colon.
KSMTH_API bool ExtructFileNameComponents(const char* path, char* out, bool wantFolder, bool wantName,
                                         bool wantExtension);

/**
 * Vemra application stamps: electronic seal pictures on security tokens.
 *
 * A stamp is one picture (its bytes are stored as they are) with a name, held in one of the five
 * data slots 8130 to 8134 of a crypto device. The stamp info mapping in slot 8127 of the same
 * device lists which slots hold stamps and under which names. This library lists, reads, adds,
 * replaces and removes stamps; it reaches devices only through libvemra_crypto.so.1.
 *
 * A typical run:
 *
 *     VemraAppStampGetAllStamps    lists the stamps of the attached devices into a set
 *     VemraAppStampGetStampCount   tells how many there are
 *     VemraAppStampGetStamp        takes one out: a record, and the uuid that names its place
 *     VemraAppStampUpdateStamp, VemraAppStampDeleteStamp   change it through its uuid
 *     VemraAppStampFreeMemory, VemraAppStampFreeStamp, VemraAppStampFreeStamps   give all back
 *
 * This comment is what an integrator must know; each function's own comment follows. Every
 * caution has a key in brackets, by which other comments and documents name it. The rules of a
 * paragraph hold for all functions, and no function repeats them.
 *
 * The trace
 * ---------
 *
 * [trace] Every call but those of VemraAppStampEnvInitialize and VemraAppStampEnvUninitialize
 *   prints its trace on standard output: an entry and an exit line, one line per argument, and what
 *   happened between. Nothing turns this off.
 *
 * [trace-secrets] Every argument is printed, DEVICE PASSWORDS INCLUDED, and
 *   VemraAppStampGetStampData prints the whole stamp in hexadecimal. An application that must not
 *   show or keep it gives the library another standard output (examples/own_output.c shows how).
 *
 * [trace-text] `device_sn` and `password` are printed as C strings and so must be NUL-terminated
 *   readable text, even where a length is given beside them.
 *
 * [trace-broken] If standard output is a pipe that nobody reads any more, SIGPIPE ends the process,
 *   unless the application ignores that signal; then the lines are lost and the calls work on. If
 *   descriptor 1 is closed, the next file that the process opens gets this number, and THE TRACE
 *   GOES INTO THAT FILE: keep descriptor 1 open.
 *
 * Passwords and statuses
 * ----------------------
 *
 * [password-wrong] A wrong password does not stop a write: it is logged with the attempts left, the
 *   operation goes on, and the device itself accepts or refuses it. A call with a wrong password
 *   that returns 1 has written.
 *
 * [password-attempts] Each wrong password costs an attempt. It is verified before the type, the
 *   mapping and the free slots are looked at, so a call that ends with -4, -7 or 0 may have cost
 *   one too. NULL verifies none.
 *
 * [status-0] Status 0 has several causes (no device, no such uuid, a failed read, a failed write
 *   ...). The error line on standard output names which; the status alone does not.
 *
 * [silent-loss] Status 1 can hide a loss. Where memory fails, or a device tells as absent or as
 *   done what is not so, a call can go on and tell success without an error line:
 *     - Slot 8127 reads as empty. An append then takes the device for empty, writes a mapping with
 *       no other stamp in it and OVERWRITES THE STAMP IN SLOT 8130. An update or a delete drops all
 *       other entries; their bytes stay in their slots, unlisted. A listing finds nothing there.
 *     - A stamp's slot reads as empty: the stamp is listed without bytes.
 *     - A write or a delete that the device only told as done: the mapping, the new bytes or the
 *       deletion are lost.
 *     - VemraAppStampGetStampData, VemraAppStampGetStampOwnDevice and
 *       VemraAppStampEnvGetConfiguration return 1 with a NULL buffer.
 *   A listing that had to leave out a stamp, or the rest of a device, is a success too; an error
 *   line tells of it. Where there was no memory for the old bytes of a slot, a failed write leaves
 *   it empty. So list again after a change and compare; make no change while memory is short.
 *
 * Names
 * -----
 *
 * [names] The mapping joins names and slot numbers, "NAME&SLOT||NAME&SLOT", and escapes nothing. A
 *   name comes back as it was exactly when it holds neither "&" nor "||". The library refuses only
 *   the empty name: CALLERS MUST REFUSE THE OTHERS before they call VemraAppStampAppendStamp or
 *   VemraAppStampUpdateStamp, which return 1 for them.
 *
 * [names-own] With a separator in it, a name is first cut at each "||", from the left. What stands
 *   behind the last one is cut at each "&", and empty pieces are dropped. If one piece is left, the
 *   stamp is listed under it ("A||B" as "B"; "A&" and "&A" as "A"). If none is left ("&", "A||"),
 *   the stamp vanishes from the list; if two or more are ("A&B"), too, unless the second reads as
 *   the stamp's own slot. The slot of a stamp that vanished counts as free: a later append
 *   overwrites it.
 *
 * [names-others] Each part of such a name, between "||", that has two or more pieces is an entry of
 *   its own: the first piece names the slot whose number the second one is. "X&8130", stored in a
 *   higher slot, RENAMES THE STAMP IN 8130 to "X". With the number of a higher slot that is listed
 *   it changes nothing else; with that of a free slot ("X&8133") it lists a phantom, without bytes
 *   or with whatever lies there, which takes up a slot until it is deleted. Any other number is
 *   skipped by listings and stays in the mapping. Digits are not checked: each byte counts by its
 *   distance from "0", modulo 2^32, so "X&4294975426" and "X&812:" name 8130 too. Renames and
 *   phantoms give no error line, and the next change of the mapping writes them down for good.
 *
 * [names-bytes] Names are byte strings. UTF-8 is usual and nothing checks it; control characters
 *   and NUL bytes pass. Names and serial numbers come from a device that others wrote: take the
 *   control characters out before a terminal shows them (examples/harmless_text.c).
 *
 * Uuids
 * -----
 *
 * [uuid-place] A uuid names a place (device, device type, slot), not a picture. It stays the same
 *   when the stamp is replaced, and after a delete and an append another stamp has it.
 *
 * [uuid-listed] A uuid is known to a process only after VemraAppStampGetAllStamps has listed it in
 *   that process.
 *
 * [uuid-deleted] The uuid of a deleted stamp stays known. Removing it again succeeds, and UPDATING
 *   IT STORES A STAMP AGAIN in its slot.
 *
 * [replug] A device of which a stamp was listed stays open until the library is unloaded, and each
 *   uuid stays with the handle that listed it first. Where pulling a device out kills its handles,
 *   plugging it in again leaves the library with dead ones: a new listing shows its stamps and
 *   VemraAppStampGetStamp returns 1, but VemraAppStampGetStampOwnDevice, VemraAppStampUpdateStamp
 *   and VemraAppStampDeleteStamp return 0 until the library is loaded anew, while
 *   VemraAppStampAppendStamp works. Keep stamp operations in a process that can be started again.
 *
 * Changing a device
 * -----------------
 *
 * [two-writes] A change writes the picture's slot and the mapping's slot, one after the other, and
 *   nothing rolls the first back when the second fails. Each function says what is then left. All
 *   that is said there of a failed write holds only where the old content of the slot that was
 *   being written could be put back.
 *
 * [put-back] A slot of another length is deleted, created and written, and put back by creating and
 *   writing it again. If the device fails at that too (it was pulled out in between, for example),
 *   or when asked for a length between deleting and creating, the slot is absent or empty: a
 *   picture is gone, or, in slot 8127, THE WHOLE MAPPING: all three writers return 0, the device
 *   lists no stamp, every picture still lies in its slot, and the next append overwrites slot 8130.
 *
 * [save-first] So take every stamp of the device out, bytes, name and uuid, before a change. After
 *   a status 0 list again before anything else, and compare. If stamps are missing, APPEND NOTHING:
 *   call VemraAppStampUpdateStamp with each uuid and the bytes and name that were taken before.
 *   Each goes back into its own slot and gets its entry. Where the uuids are not known any more, or
 *   their handles are dead [replug], load the library anew and append all that was taken, in the
 *   order of the list. Pictures that were not taken out can no longer be read through this library;
 *   save the slots by other means before any append.
 *
 * [one-writer] Concurrent writers to one device, threads or processes, can lose each other's
 *   changes: reading the mapping and writing it back is not one step. A writer that reads while
 *   another replaces the mapping may even take the device for empty, drop all its entries and
 *   overwrite a stamp that neither of them named; the other may fail and leave no mapping at all.
 *   Let one writer at a time work on a device; the library has no lock for it.
 *
 * [sealed] A stamp whose bytes are exactly "VemraSeal", with or without one zero byte behind it, is
 *   deleted without a look at the mapping: its entry stays and lists a stamp without bytes. Refuse
 *   such pictures.
 *
 * Records, buffers and lengths
 * ----------------------------
 *
 * [release] Sets are given back with VemraAppStampFreeStamps, records with VemraAppStampFreeStamp,
 *   every other buffer with VemraAppStampFreeMemory. VemraAppStampFreeStamp does not release the
 *   record's `name`: release it first with VemraAppStampFreeMemory(record->name).
 *
 * [read-only] Records that were handed out are read-only, but for giving `name` back.
 *   VemraAppStampFreeStamp releases what `data` and `own_device` point to, whoever made it. To
 *   store such a stamp again, changed, copy its first five fields into a record of your own.
 *
 * [own-record] Records to store are the caller's own, zeroed first. They never go to
 *   VemraAppStampFreeStamp, which would release their data, and know no device.
 *
 * [lengths] Lengths are in bytes. Text is NUL-terminated where the library makes it, and the
 *   reported length does not count the NUL. `data_length` has 64 bits, but devices get its low 32
 *   as a signed number: 0x100000005 stores 5 bytes and 0x100000000 none, both with status 1, and 2
 *   GiB are a negative length. Refuse pictures above 16 MiB before the call.
 *
 * The environment
 * ---------------
 *
 * [environment] No stamp function needs VemraAppStampEnvInitialize; only
 *   VemraAppStampEnvGetConfiguration and VemraAppStampEnvUninitialize do, for its handle. The
 *   settings are kept and reported; the trace heeds neither.
 *
 * [crash-handler] VemraAppStampEnvInitialize installs a handler for SIGILL, SIGSEGV and SIGABRT
 *   that prints one line and RETURNS. After a real fault the faulting instruction runs again, so
 *   the fault repeats for ever. An application that calls it restores its own handlers, or the
 *   default ones, straight afterwards, each time.
 *
 * [log-directory] The log directory is reported anew from its components, joined by "/". "/" and
 *   "\" end a component of at least one character; where a component would begin, they are its
 *   first character; a rest of one character at the end is dropped. So "/var/log/" is reported as
 *   "/var/log", "/tmp/x" as "/tmp", "log//seals" unchanged, "log///" as "log//", "//" as "/",
 *   "C:\logs" as "C:/logs", and "/" as nothing.
 *
 * Exceptions and ends of the process
 * ----------------------------------
 *
 * [exceptions] Failures that a device reports become status 0. But any function except
 *   VemraAppStampEnvUninitialize can let a C++ exception out, and a C caller cannot catch it: it
 *   ends the process. These can leave a function:
 *     - std::bad_alloc, wherever memory fails and neither a -3 nor a loss is told of.
 *     - std::system_error, where a mutex cannot be locked; a listing prints an error line instead.
 *     - std::length_error, from VemraAppStampGetStampData, for a data_length that no text can hold.
 *     - std::runtime_error, from VemraAppStampAppendStamp, when the type of a device with the right
 *       serial number cannot be read.
 *     - Anything that the device library throws out of the password check or of an append's
 *       questions for serial numbers and types, or that is not a std::exception.
 *   The exit line is printed, unless there was no memory for the entry line, and the last status
 *   stays as it was.
 *
 * [process-end] The process ends at once if memory fails for an exit line or for the text of a
 *   device failure, or if a set cannot be locked to be released.
 *
 * [cancel] Do not cancel a thread inside a call: a cancellation that takes effect while the exit
 *   line is written ends the process.
 *
 * Threads
 * -------
 *
 * [threads] Any function may be called from any thread. A set or a record must not be released
 *   while another thread uses it.
 *
 * [last-status] The last status is kept per thread.
 */
#ifndef VEMRA_APP_STAMP_H
#define VEMRA_APP_STAMP_H

#if defined(__GNUC__)
#define VEMRA_APP_STAMP_API __attribute__((visibility("default")))
#else
#define VEMRA_APP_STAMP_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Status codes. Most functions return one and keep it as the calling thread's last status.
 * VemraAppStampGetErrorMessage gives the text of each.
 */
enum {
    /** Done. */
    VEMRA_APP_STAMP_SUCCESS = 1,
    /** A device or data operation failed; the log names the cause. */
    VEMRA_APP_STAMP_FAILURE = 0,
    /** The handle is NULL, or the object behind it is unusable. */
    VEMRA_APP_STAMP_INVALID_HANDLE = -1,
    /** A required pointer is NULL, or a value is out of its domain. */
    VEMRA_APP_STAMP_INVALID_ARGUMENT = -2,
    /** A buffer for the caller could not be allocated. */
    VEMRA_APP_STAMP_OUT_OF_MEMORY = -3,
    /** The stamp type is not one that the operation knows. */
    VEMRA_APP_STAMP_UNSUPPORTED_TYPE = -4,
    /** An index at or past the end of a set. */
    VEMRA_APP_STAMP_OUT_OF_RANGE = -5,
    /** The environment is not initialised. It has a message; no function returns it. */
    VEMRA_APP_STAMP_NOT_INITIALIZED = -6,
    /** All five slots of the device hold stamps. It has no message of its own. */
    VEMRA_APP_STAMP_DEVICE_FULL = -7
};

/** Stamp types, as a filter and in records. A record of any other kind carries -1. */
enum {
    /** As a filter: every kind. */
    VEMRA_APP_STAMP_TYPE_ANY = -1,
    /** A reserved kind: no such stamp is ever found, and none can be stored. */
    VEMRA_APP_STAMP_TYPE_RESERVED = 0,
    /** A picture. */
    VEMRA_APP_STAMP_TYPE_IMAGE = 1
};

/** The library's environment: one object for the process, never released by the caller. */
typedef struct VEMRA_APP_STAMP_ENV_st* VEMRA_APP_STAMP_ENV_HANDLE;

/** The stamps that one enumeration found, released with VemraAppStampFreeStamps. */
typedef struct VEMRA_APP_STAMP_SET_st* VEMRA_APP_STAMP_SET_HANDLE;

/** Settings of the environment. They are kept and reported; the trace heeds neither. */
typedef struct VEMRA_APP_STAMP_CONFIG {
    /** Log level, 0 always: initialising does not change it. */
    int log_level;
    /** Length of log_directory in bytes, a terminator not counted. */
    int log_directory_length;
    /** Log directory: read as log_directory_length bytes, handed out NUL-terminated. */
    char* log_directory;
} VEMRA_APP_STAMP_CONFIG;

/**
 * One stamp. VemraAppStampGetStamp makes records; for VemraAppStampAppendStamp and
 * VemraAppStampUpdateStamp the caller fills one of its own, zeroed first (48 bytes on 64-bit
 * machines). Callers fill and read the first five fields and never touch the last two. A record
 * that was handed out is read-only [read-only].
 */
typedef struct VEMRA_APP_STAMP_RECORD {
    /** VEMRA_APP_STAMP_TYPE_IMAGE in stamps to store; as above in stamps handed out. */
    int type;
    /** Length of name in bytes, its NUL not counted. */
    unsigned int name_length;
    /** Length of data in bytes. Up to 16 MiB (16777216) is advised; devices may hold less. */
    unsigned long long data_length;
    /** The stamp's bytes, not terminated; NULL in a record handed out when there are none. */
    unsigned char* data;
    /** The stamp's name, NUL-terminated when the library made it. Not released with the record. */
    char* name;
    /** Not used: NULL. */
    void* reserved;
    /** Private to the library: the device that holds the stamp; NULL in records of callers. */
    void* own_device;
} VEMRA_APP_STAMP_RECORD;

/**
 * Tells the library's version.
 *
 * Returns the static text "1.0.0.0"; not freed. The last status stays as it was.
 * Threads: any.
 * Logs: the call only.
 */
VEMRA_APP_STAMP_API const char* VemraAppStampGetVersion(void);

/**
 * Tells the last status that a function stored in the calling thread; 1 in a thread that has
 * called none yet. VemraAppStampGetVersion, VemraAppStampGetLastError,
 * VemraAppStampGetErrorMessage and VemraAppStampEnvInitialize store none.
 *
 * Returns the status and leaves it as it is.
 * Threads: any; each has its own.
 * Logs: the call only.
 */
VEMRA_APP_STAMP_API int VemraAppStampGetLastError(void);

/**
 * Tells the text of a status code.
 *
 * errcode  in  any number
 *
 * Returns a static UTF-8 text, not freed: the same unspecific one for every code without a text
 * of its own, -7 among them. The last status stays as it was.
 * Threads: any.
 * Logs: the code.
 */
VEMRA_APP_STAMP_API const char* VemraAppStampGetErrorMessage(int errcode);

/**
 * Releases a buffer that a function of this library handed out: stamp data, names, uuids, serial
 * numbers, the log directory. Records and sets have release functions of their own.
 *
 * mem  in  the buffer; it is gone afterwards
 *
 * Returns, tested in this order:
 *   -2 mem is NULL; 1 done.
 * Threads: any.
 * Logs: the address.
 */
VEMRA_APP_STAMP_API int VemraAppStampFreeMemory(void* mem);

/**
 * Makes the environment, or finds the one that there is, and installs the crash handler for
 * SIGILL, SIGSEGV and SIGABRT, on every call [crash-handler]. No stamp function needs this call.
 *
 * config  in  may be NULL. log_directory replaces the directory when it is not NULL and
 *             log_directory_length is above 0; exactly that many bytes are read. log_level is
 *             ignored. Borrowed for the call.
 *
 * Returns the environment, never NULL and always the same; not released. The last status stays
 * as it was.
 * Threads: any. Setting the directory while another thread reads it with
 *          VemraAppStampEnvGetConfiguration is a data race.
 * Logs: nothing.
 */
VEMRA_APP_STAMP_API VEMRA_APP_STAMP_ENV_HANDLE
VemraAppStampEnvInitialize(const VEMRA_APP_STAMP_CONFIG* config);

/**
 * Reads the settings.
 *
 * handle  in   from VemraAppStampEnvInitialize; any other value but NULL is undefined
 * config  out  log_level is set. log_directory becomes a new NUL-terminated buffer, freed by the
 *              caller with VemraAppStampFreeMemory (NULL when there is no memory), and
 *              log_directory_length its true length; both stay as they were when the directory
 *              is empty. The directory is rendered anew from its components [log-directory].
 *
 * Returns, tested in this order:
 *   -1 handle is NULL; -2 config is NULL; 1 done.
 * Threads: any, except while another thread sets the directory.
 * Logs: the arguments.
 */
VEMRA_APP_STAMP_API int VemraAppStampEnvGetConfiguration(VEMRA_APP_STAMP_ENV_HANDLE handle,
                                                         VEMRA_APP_STAMP_CONFIG* config);

/**
 * Ends the use of the environment. It releases nothing: settings, handle and crash handler stay.
 *
 * handle  in  from VemraAppStampEnvInitialize
 *
 * Returns, tested in this order:
 *   -1 handle is NULL; 1 done.
 * Threads: any.
 * Logs: nothing.
 */
VEMRA_APP_STAMP_API int VemraAppStampEnvUninitialize(VEMRA_APP_STAMP_ENV_HANDLE handle);

/**
 * Lists the stamps on all attached devices and makes their uuids known to this process.
 *
 * type              in  VEMRA_APP_STAMP_TYPE_ANY, _RESERVED (finds none) or _IMAGE
 * device_sn         in  serial number to look for, or NULL for every device. Exactly
 *                       device_sn_length bytes are compared, and the whole is printed as a C
 *                       string, so it must be NUL-terminated. Borrowed for the call.
 * device_sn_length  in  bytes of device_sn; 0 for every device
 * device_type       in  device type to look for, or -1 for every type
 *
 * Returns a new set, perhaps empty, released with VemraAppStampFreeStamps; or NULL. Its stamps
 * stand in the order of the devices and, within a device, in ascending order of their slots. A
 * listed slot without bytes gives a stamp without bytes. A device that fails half-way keeps what
 * was read of it, and the others are still listed; the log names the failure [silent-loss].
 * The last status becomes, tested in this order:
 *   -4 type is none of the three; 0 the devices could not be read, or there is none;
 *   -3 no memory for the set; 1 done.
 * Threads: any.
 * Logs: the arguments; each uuid; devices, entries and slots that were skipped, and why.
 */
VEMRA_APP_STAMP_API VEMRA_APP_STAMP_SET_HANDLE VemraAppStampGetAllStamps(
    int type, const char* device_sn, unsigned int device_sn_length, int device_type);

/**
 * Releases a set. Records taken out of it stay valid.
 *
 * handle  in  the set; it is gone afterwards
 *
 * Returns, tested in this order:
 *   -1 handle is NULL; 1 done.
 * Threads: any, while nobody else uses the set.
 * Logs: the address.
 */
VEMRA_APP_STAMP_API int VemraAppStampFreeStamps(VEMRA_APP_STAMP_SET_HANDLE handle);

/**
 * Counts the stamps of a set.
 *
 * handle  in   from VemraAppStampGetAllStamps; borrowed
 * count   out  number of stamps
 *
 * Returns, tested in this order:
 *   -1 handle is NULL; -2 count is NULL; 1 done.
 * Threads: any, while nobody frees the set.
 * Logs: the arguments.
 */
VEMRA_APP_STAMP_API int VemraAppStampGetStampCount(VEMRA_APP_STAMP_SET_HANDLE handle,
                                                   unsigned int* count);

/**
 * Takes a stamp out of a set: a new record with copies of its bytes and name, and its uuid. Each
 * call makes a new record.
 *
 * handle            in   from VemraAppStampGetAllStamps; borrowed
 * index             in   0 to count - 1
 * output_uuid       out  new buffer of exactly *output_uuid_size bytes, not text and not
 *                        terminated, freed by the caller with VemraAppStampFreeMemory
 * output_uuid_size  out  length of the uuid in bytes
 * output_stamp      out  new record. The caller first frees its name with
 *                        VemraAppStampFreeMemory((*output_stamp)->name), then the record with
 *                        VemraAppStampFreeStamp. It keeps its device alive and is read-only
 *                        [read-only].
 * On failure no output is written, but for *output_uuid, which becomes NULL when the uuid's
 * buffer cannot be allocated.
 *
 * Returns, tested in this order:
 *   -1 handle is NULL; -5 index is past the last stamp; -2 an output is NULL;
 *   0 the set holds no stamp there, the stamp has no uuid, or its uuid is not known to the process;
 *   -3 no memory for the record or the bytes (if it fails for the bytes, the unfinished record is
 *   never released); 0 the stamp has no name; -3 no memory for the name or the uuid (if it fails
 *   for the uuid, the copy of the name is never released); 1 done.
 * Threads: any, while nobody frees the set.
 * Logs: the arguments; the cause of a status 0.
 */
VEMRA_APP_STAMP_API int VemraAppStampGetStamp(VEMRA_APP_STAMP_SET_HANDLE handle, unsigned int index,
                                              unsigned char** output_uuid,
                                              unsigned int* output_uuid_size,
                                              VEMRA_APP_STAMP_RECORD** output_stamp);

/**
 * Releases a record that VemraAppStampGetStamp made, with its bytes and its hold on the device.
 * It does NOT release the name: free that first, with VemraAppStampFreeMemory(record->name).
 * Never give it a record of your own [own-record].
 *
 * handle  in  the record; it is gone afterwards
 *
 * Returns, tested in this order:
 *   -1 handle is NULL; 1 done.
 * Threads: any, while nobody else uses the record.
 * Logs: the address; that the bytes were freed, if there were any.
 */
VEMRA_APP_STAMP_API int VemraAppStampFreeStamp(VEMRA_APP_STAMP_RECORD* handle);

/**
 * Reads a stamp's type.
 *
 * handle  in   a record; borrowed
 * type    out  the record's type
 *
 * Returns, tested in this order:
 *   -1 handle is NULL; -2 type is NULL; 1 done.
 * Threads: any, while nobody frees the record.
 * Logs: the arguments.
 */
VEMRA_APP_STAMP_API int VemraAppStampGetStampType(const VEMRA_APP_STAMP_RECORD* handle, int* type);

/**
 * Copies a stamp's bytes.
 *
 * handle        in   a record; borrowed
 * output_bytes  out  new buffer of exactly *output_size bytes, not terminated, freed by the
 *                    caller with VemraAppStampFreeMemory; untouched if the stamp has no bytes;
 *                    NULL if there is no memory, which is not an error: test the pointer
 * output_size   out  length of the stamp's bytes
 *
 * Returns, tested in this order:
 *   -1 handle is NULL; -2 an output is NULL; 1 done.
 * Threads: any, while nobody frees the record.
 * Logs: the arguments; the length; ALL THE BYTES in hexadecimal, two characters a byte. Without
 *       memory for the copy, one assertion message on standard error.
 */
VEMRA_APP_STAMP_API int VemraAppStampGetStampData(const VEMRA_APP_STAMP_RECORD* handle,
                                                  unsigned char** output_bytes,
                                                  unsigned long long* output_size);

/**
 * Copies a stamp's name.
 *
 * handle         in   a record; borrowed. Its name need not be terminated.
 * output_string  out  new NUL-terminated buffer, freed by the caller with
 *                     VemraAppStampFreeMemory; untouched if the record has no name
 * output_size    out  length in bytes, NUL not counted
 *
 * Returns, tested in this order:
 *   -1 handle is NULL; -2 an output is NULL;
 *   -3 no memory (*output_string becomes NULL, *output_size stays); 1 done.
 * Threads: any, while nobody frees the record.
 * Logs: the arguments; the length and the name.
 */
VEMRA_APP_STAMP_API int VemraAppStampGetStampName(const VEMRA_APP_STAMP_RECORD* handle,
                                                  char** output_string, unsigned int* output_size);

/**
 * Asks the device that holds a stamp for its serial number and type.
 *
 * handle                   in   a record from VemraAppStampGetStamp; borrowed
 * output_device_sn         out  new NUL-terminated buffer, freed by the caller with
 *                               VemraAppStampFreeMemory; NULL if the serial number is empty or
 *                               cannot be read, and if there is no memory, which are no errors:
 *                               test the pointer
 * output_device_sn_length  out  true length in bytes, NUL not counted
 * output_device_type       out  device type
 * On failure no output is written.
 *
 * Returns, tested in this order:
 *   -1 handle is NULL; -2 an output is NULL; -1 the record knows no device;
 *   0 the device did not answer; 1 done.
 * Threads: any, while nobody frees the record.
 * Logs: the arguments; the cause of a failure.
 */
VEMRA_APP_STAMP_API int VemraAppStampGetStampOwnDevice(const VEMRA_APP_STAMP_RECORD* handle,
                                                       char** output_device_sn,
                                                       unsigned int* output_device_sn_length,
                                                       int* output_device_type);

/**
 * Stores a new stamp in the lowest free slot of a device. Its uuid becomes known with the next
 * VemraAppStampGetAllStamps.
 *
 * device_sn         in  serial number of the device. Exactly device_sn_length bytes are compared,
 *                       and the whole is printed as a C string, so it must be NUL-terminated.
 * device_sn_length  in  bytes of device_sn
 * device_type       in  type of the device; -1 is not accepted
 * password          in  NUL-terminated user password of the device, PRINTED IN CLEAR; NULL to
 *                       verify none. A wrong one is logged, costs an attempt and does not stop the
 *                       write [password-wrong].
 * stamp             in  the stamp: type VEMRA_APP_STAMP_TYPE_IMAGE, a name (not empty, without
 *                       "&" and "||": the caller must see to that [names]) and bytes. Lengths of
 *                       4 GiB and more are cut [lengths].
 * All are borrowed for the call.
 *
 * Returns, tested in this order:
 *   -2 device_sn is NULL or its length 0; -2 device_type is -1; -2 stamp is NULL;
 *   -1 the stamp's type is neither 0 nor 1; -1 it has no data; -1 its data_length is 0;
 *   -1 it has no name;
 *   0 the devices could not be read, there is none, or none matches; -4 the type is 0;
 *   0 the mapping could not be read; -7 all slots are taken;
 *   0 a write failed: the picture's (the slot has its old content or is empty) or the mapping's
 *   (the picture lies in its slot, unlisted, and a later append overwrites it); where the old
 *   content could not be put back, it is lost [put-back]; 1 done.
 * Threads: any, but one writer to a device at a time [one-writer].
 * Logs: the arguments, THE PASSWORD INCLUDED; the cause of every failure but -4.
 */
VEMRA_APP_STAMP_API int VemraAppStampAppendStamp(const char* device_sn,
                                                 unsigned int device_sn_length, int device_type,
                                                 const char* password,
                                                 const VEMRA_APP_STAMP_RECORD* stamp);

/**
 * Replaces the bytes and the name of a stamp, or stores one again in the place of a deleted stamp
 * [uuid-deleted]. The uuid goes on naming its place.
 *
 * uuid       in  from VemraAppStampGetStamp
 * uuid_size  in  its length in bytes
 * password   in  NUL-terminated user password of the device, PRINTED IN CLEAR; NULL to verify
 *                none. A wrong one is logged, costs an attempt and does not stop the write
 *                [password-wrong].
 * stamp      in  the new bytes and name, as for VemraAppStampAppendStamp
 * All are borrowed for the call.
 *
 * Returns, tested in this order:
 *   0 uuid is NULL or its size 0; -2 stamp is NULL;
 *   -1 the stamp's type is neither 0 nor 1; -1 it has no data; -1 its data_length is 0;
 *   -1 it has no name;
 *   0 no enumeration of this process has listed the uuid; -4 the type is 0;
 *   0 the mapping could not be read;
 *   0 a write failed: the picture's (the old one is back) or the mapping's (the new picture stands
 *   under the old name); where the old content could not be put back, it is lost [put-back];
 *   1 done.
 * Threads: any, but one writer to a device at a time [one-writer].
 * Logs: the arguments, THE PASSWORD INCLUDED; the cause of every failure but -4.
 */
VEMRA_APP_STAMP_API int VemraAppStampUpdateStamp(const unsigned char* uuid, unsigned int uuid_size,
                                                 const char* password,
                                                 const VEMRA_APP_STAMP_RECORD* stamp);

/**
 * Removes a stamp: first its entry in the mapping, then its slot; of a slot with the sealed
 * format's magic the slot alone [sealed]. The uuid stays known, and removing it again succeeds.
 *
 * uuid       in  from VemraAppStampGetStamp
 * uuid_size  in  its length in bytes
 * password   in  NUL-terminated user password of the device, PRINTED IN CLEAR; NULL to verify
 *                none. A wrong one is logged, costs an attempt and does not stop the removal
 *                [password-wrong].
 * All are borrowed for the call.
 *
 * Returns, tested in this order:
 *   0 uuid is NULL or its size 0; 0 no enumeration of this process has listed the uuid;
 *   0 the slot or the mapping could not be read; 0 the mapping could not be written (the stamp
 *   stays; where the old mapping could not be put back, no stamp is listed any more [put-back]);
 *   0 the slot could not be removed (its bytes stay, unlisted, and a later append overwrites them);
 *   1 done.
 * Threads: any, but one writer to a device at a time [one-writer].
 * Logs: the arguments, THE PASSWORD INCLUDED; the cause of every failure.
 */
VEMRA_APP_STAMP_API int VemraAppStampDeleteStamp(const unsigned char* uuid, unsigned int uuid_size,
                                                 const char* password);

#ifdef __cplusplus
}
#endif

#endif

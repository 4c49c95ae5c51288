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
 * What an integrator must know
 * ----------------------------
 *
 * The trace. Every call but those of VemraAppStampEnvInitialize and VemraAppStampEnvUninitialize
 *   prints its trace on standard output: an entry and an exit line, one line per argument, and what
 *   happened between. Every argument is printed, DEVICE PASSWORDS INCLUDED, and
 *   VemraAppStampGetStampData prints the whole stamp in hexadecimal. Nothing turns this off. An
 *   application that must not show or keep it gives the library another standard output
 *   (examples/own_output.c shows how). `device_sn` and `password` are printed as C strings and so
 *   must be NUL-terminated readable text, even where a length is given beside them.
 *
 * Passwords. A wrong password does not stop a write: it is logged with the attempts left, the
 *   operation goes on, and the device itself accepts or refuses it. A call with a wrong password
 *   that returns 1 has written. Each wrong one costs an attempt.
 *
 * Status 0 has several causes (no device, no such uuid, a failed read, a failed write ...). The
 *   error line on standard output names which; the status alone does not.
 *
 * Names. The mapping joins names and slot numbers with "&" and "||" and escapes nothing. An empty
 *   name, or a name with "&" or "||" in it, does not survive the mapping: such a stamp vanishes
 *   from the list and its slot counts as free, so that a later append overwrites it. The library
 *   refuses only the empty name: CALLERS MUST REFUSE THE OTHERS before they call
 *   VemraAppStampAppendStamp or VemraAppStampUpdateStamp.
 *
 * A uuid names a place (device, device type, slot), not a picture. It stays the same when the
 *   stamp is replaced, and after a delete and an append another stamp has it. It is known to a
 *   process only after VemraAppStampGetAllStamps has listed it in that process.
 *
 * Two writes. A change writes the picture's slot and the mapping's slot, one after the other, and
 *   nothing rolls the first back when the second fails. Each function says what a failure leaves.
 *
 * One writer. Concurrent writers to one device, threads or processes, can lose each other's
 *   changes: reading the mapping and writing it back is not one step. A writer that reads while
 *   another replaces the mapping may even take the device for empty, drop all its entries and
 *   overwrite a stamp that neither of them named; the other may fail and leave no mapping at all.
 *   Let one writer at a time work on a device.
 *
 * Releasing. Sets are given back with VemraAppStampFreeStamps, records with
 *   VemraAppStampFreeStamp, every other buffer with VemraAppStampFreeMemory. VemraAppStampFreeStamp
 *   does not release the record's `name`: release it first with
 *   VemraAppStampFreeMemory(record->name).
 *
 * The crash handler. VemraAppStampEnvInitialize, which nothing else needs, installs a handler for
 *   SIGILL, SIGSEGV and SIGABRT that prints one line and RETURNS. After a real fault the faulting
 *   instruction runs again, so the fault repeats for ever. An application that calls it restores
 *   its own handlers, or the default ones, straight afterwards.
 *
 * Exceptions. Device failures are caught and become status 0. Some C++ exceptions can still leave
 *   a function and cross into the caller, after the exit line is printed:
 *     std::bad_alloc     memory failed where no -3 is promised: inside strings, containers and
 *                        log lines, in any function that traces;
 *     std::length_error  a length beyond what a string can hold;
 *     std::system_error  a mutex could not be locked;
 *     std::runtime_error in VemraAppStampAppendStamp, when the type of a device with the right
 *                        serial number cannot be read;
 *     std::logic_error and anything else that the device library itself throws outside the
 *                        guarded calls, or that is not a std::exception.
 *   A C caller cannot catch them: they end the process. If memory fails even for the exit line, or
 *   for the text of a device failure, or if a set cannot be locked to be released, the process
 *   ends at once.
 *
 * Threads. Any function may be called from any thread. A set or a record must not be released
 *   while another thread uses it. The last status is kept per thread.
 *
 * Lengths are in bytes. Text is NUL-terminated where the library makes it, and the reported length
 * does not count the NUL. Names are byte strings; UTF-8 is usual and nothing checks it.
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
 * machines). Callers read and write the first five fields and never touch the last two.
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
 * SIGILL, SIGSEGV and SIGABRT, on every call. No other function needs this call.
 *
 * The handler prints one line and returns, so a real fault repeats for ever unless the
 * application restores its own handler or the default one after this call.
 *
 * config  in  may be NULL. log_directory replaces the directory when it is not NULL and
 *             log_directory_length is above 0; exactly that many bytes are read. log_level is
 *             ignored. Borrowed for the call.
 *
 * Returns the environment, never NULL and always the same; not released. The last status stays
 * as it was.
 * Exceptions: std::bad_alloc, std::system_error.
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
 *              is empty. The directory is rendered anew from its components: without a trailing
 *              separator, and without a last component of one character.
 *
 * Returns, tested in this order:
 *   -1 handle is NULL; -2 config is NULL; 1 done.
 * Exceptions: std::bad_alloc, std::system_error.
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
 * was read of it, and the others are still listed; the log names the failure.
 * The last status becomes, tested in this order:
 *   -4 type is none of the three; 0 the devices could not be read, or there is none;
 *   -3 no memory for the set; 1 done.
 * Exceptions: std::bad_alloc, std::length_error, std::system_error.
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
 * Exceptions: std::system_error.
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
 *                        VemraAppStampFreeStamp. It keeps its device alive.
 * On failure no output is written, but for *output_uuid, which becomes NULL when the uuid's
 * buffer cannot be allocated.
 *
 * Returns, tested in this order:
 *   -1 handle is NULL; -5 index is past the last stamp; -2 an output is NULL;
 *   0 the set holds no stamp there, the stamp has no uuid, or its uuid is not known to the process;
 *   -3 no memory for the record or the bytes (if it fails for the bytes, the unfinished record is
 *   never released); 0 the stamp has no name; -3 no memory for the name or the uuid (if it fails
 *   for the uuid, the copy of the name is never released); 1 done.
 * Exceptions: std::bad_alloc, std::system_error.
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
 * Never give it a record of your own.
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
 * Exceptions: std::bad_alloc, for the hexadecimal text in the log.
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
 *                       verify none. A wrong one is logged and does not stop the write.
 * stamp             in  the stamp: type VEMRA_APP_STAMP_TYPE_IMAGE, a name (not empty, without
 *                       "&" and "||": the caller must see to that) and bytes. Devices take
 *                       lengths below 2 GiB.
 * All are borrowed for the call.
 *
 * Returns, tested in this order:
 *   -2 device_sn is NULL or its length 0; -2 device_type is -1; -2 stamp is NULL;
 *   -1 the stamp's type is neither 0 nor 1; -1 it has no data; -1 its data_length is 0;
 *   -1 it has no name;
 *   0 the devices could not be read, there is none, or none matches; -4 the type is 0;
 *   0 the mapping could not be read; -7 all slots are taken;
 *   0 a write failed: the picture's (the slot is as it was before, as far as the device allows)
 *   or the mapping's (the picture lies in its slot, unlisted, and a later append overwrites it);
 *   1 done.
 * Exceptions: std::runtime_error, std::bad_alloc, std::length_error, std::system_error.
 * Threads: any, but one writer to a device at a time.
 * Logs: the arguments, THE PASSWORD INCLUDED; the cause of every failure but -4.
 */
VEMRA_APP_STAMP_API int VemraAppStampAppendStamp(const char* device_sn,
                                                 unsigned int device_sn_length, int device_type,
                                                 const char* password,
                                                 const VEMRA_APP_STAMP_RECORD* stamp);

/**
 * Replaces the bytes and the name of a stamp. The uuid goes on naming its place.
 *
 * uuid       in  from VemraAppStampGetStamp
 * uuid_size  in  its length in bytes
 * password   in  NUL-terminated user password of the device, PRINTED IN CLEAR; NULL to verify
 *                none. A wrong one is logged and does not stop the write.
 * stamp      in  the new bytes and name, as for VemraAppStampAppendStamp
 * All are borrowed for the call.
 *
 * Returns, tested in this order:
 *   0 uuid is NULL or its size 0; -2 stamp is NULL;
 *   -1 the stamp's type is neither 0 nor 1; -1 it has no data; -1 its data_length is 0;
 *   -1 it has no name;
 *   0 no enumeration of this process has listed the uuid; -4 the type is 0;
 *   0 the mapping could not be read;
 *   0 a write failed: the picture's (the slot is as it was before, as far as the device allows)
 *   or the mapping's (the new picture stands under the old name);
 *   1 done.
 * Exceptions: std::bad_alloc, std::length_error, std::system_error.
 * Threads: any, but one writer to a device at a time.
 * Logs: the arguments, THE PASSWORD INCLUDED; the cause of every failure but -4.
 */
VEMRA_APP_STAMP_API int VemraAppStampUpdateStamp(const unsigned char* uuid, unsigned int uuid_size,
                                                 const char* password,
                                                 const VEMRA_APP_STAMP_RECORD* stamp);

/**
 * Removes a stamp: first its entry in the mapping, then its slot. A slot whose bytes are exactly
 * the sealed format's magic, "VemraSeal" with or without one zero byte behind it, is removed
 * without a look at the mapping. The uuid stays known, and removing it again succeeds.
 *
 * uuid       in  from VemraAppStampGetStamp
 * uuid_size  in  its length in bytes
 * password   in  NUL-terminated user password of the device, PRINTED IN CLEAR; NULL to verify
 *                none. A wrong one is logged and does not stop the removal.
 * All are borrowed for the call.
 *
 * Returns, tested in this order:
 *   0 uuid is NULL or its size 0; 0 no enumeration of this process has listed the uuid;
 *   0 the slot or the mapping could not be read; 0 the mapping could not be written (the stamp
 *   stays); 0 the slot could not be removed (its bytes stay, unlisted, and a later append
 *   overwrites them); 1 done.
 * Exceptions: std::bad_alloc, std::length_error, std::system_error.
 * Threads: any, but one writer to a device at a time.
 * Logs: the arguments, THE PASSWORD INCLUDED; the cause of every failure.
 */
VEMRA_APP_STAMP_API int VemraAppStampDeleteStamp(const unsigned char* uuid, unsigned int uuid_size,
                                                 const char* password);

#ifdef __cplusplus
}
#endif

#endif

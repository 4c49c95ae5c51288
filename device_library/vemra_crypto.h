/**
 * The part of the maker's closed crypto-device library, libvemra_crypto.so.1,
 * that this project calls or stands in for. Which of it the stamp library needs
 * stands in src/needed_symbols.txt.
 *
 * Every function returns 1 for success unless its comment says otherwise. The
 * handles are opaque. None of the functions is promised not to throw: in C++ an
 * exception out of the device library passes through its callers.
 *
 * functions.txt beside this file lists the same names; the link-time stub is
 * made from it.
 */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

typedef struct VEMRA_PKI_DEVICE_LIST_st VEMRA_PKI_DEVICE_LIST_st;
typedef struct VEMRA_PKI_DEVICE_HANDLE_st VEMRA_PKI_DEVICE_HANDLE_st;
typedef struct VEMRA_PrivKey_Handle_st VEMRA_PrivKey_Handle_st;
typedef struct VEMRA_CERT_st VEMRA_CERT_st;
typedef struct VEMRA_PKI_HASH_HANDLE_st VEMRA_PKI_HASH_HANDLE_st;

/* Devices. */

/* The attached devices, null when there are none. The list is never released. */
VEMRA_PKI_DEVICE_LIST_st* VemraPKICryptoGetAllDevices(int type, int flags);
/* The number of devices in a list; below 1 means none. */
int VemraPKICryptoGetDeviceCount(VEMRA_PKI_DEVICE_LIST_st* list);
/* A new handle, released by the caller with VemraPKICryptoFreeDevice. */
VEMRA_PKI_DEVICE_HANDLE_st* VemraPKICryptoGetDevice(VEMRA_PKI_DEVICE_LIST_st* list, int index);
/* A new handle to the library's pseudo device, released by the caller. */
VEMRA_PKI_DEVICE_HANDLE_st* VemraPKICryptoGetPseudoDevice(void);
/* A second handle to the same device, released by the caller. */
VEMRA_PKI_DEVICE_HANDLE_st* VemraPKICryptoDupDevice(VEMRA_PKI_DEVICE_HANDLE_st* device);
int VemraPKICryptoFreeDevice(VEMRA_PKI_DEVICE_HANDLE_st* device);
/* The device type; -1 on failure. */
int VemraPKICryptoGetType(VEMRA_PKI_DEVICE_HANDLE_st* device);
/* *out becomes a NUL-terminated string, released with VemraPKICryptoFreeMemory. */
int VemraPKICryptoGetSerialNumber(VEMRA_PKI_DEVICE_HANDLE_st* device, char** out);
/* type 1 is the user password. When it is wrong, *retries holds the attempts left. */
int VemraPKICryptoVerifyPwd(VEMRA_PKI_DEVICE_HANDLE_st* device, int type, const char* password,
                            int* retries);

/* Numbered data slots. */

/* *len becomes the slot's length in bytes; -7 means that the slot does not exist. */
int VemraPKICryptoGetDataLength(VEMRA_PKI_DEVICE_HANDLE_st* device, int id, int* len);
/* Copies the slot into buf; *out_len bytes are valid afterwards. */
int VemraPKICryptoReadData(VEMRA_PKI_DEVICE_HANDLE_st* device, int id, unsigned char* buf,
                           int buf_len, int* out_len);
/* Makes a slot of size bytes. attributes is the four-byte data attribute block. */
int VemraPKICryptoCreateData(VEMRA_PKI_DEVICE_HANDLE_st* device, int id,
                             const unsigned char* attributes, int size);
int VemraPKICryptoWriteData(VEMRA_PKI_DEVICE_HANDLE_st* device, int id, const void* data, int len);
int VemraPKICryptoDeleteData(VEMRA_PKI_DEVICE_HANDLE_st* device, int id);

/* Key pairs and certificates. */

/* The number of key pairs; below 1 means none. */
int VemraPKICryptoGetKeypairCount(VEMRA_PKI_DEVICE_HANDLE_st* device);
/* A new handle, released by the caller with VemraPKICryptoFreeKeypair. */
VEMRA_PrivKey_Handle_st* VemraPKICryptoGetKeypair(VEMRA_PKI_DEVICE_HANDLE_st* device, int index);
VEMRA_PrivKey_Handle_st* VemraPKICryptoDupKeypair(VEMRA_PrivKey_Handle_st* keypair);
int VemraPKICryptoFreeKeypair(VEMRA_PrivKey_Handle_st* keypair);
/* The number of certificates; below 1 means none. */
int VemraPKICryptoGetCertificateCount(VEMRA_PrivKey_Handle_st* keypair);
/* *out becomes a new handle, released by the caller with VemraPKICertFreeCert. */
int VemraPKICryptoGetCertificate(VEMRA_PrivKey_Handle_st* keypair, int index, VEMRA_CERT_st** out);

/* A certificate from its DER bytes, null when they are not one; released by the caller. */
VEMRA_CERT_st* VemraPKICertNewCert(const void* der, unsigned long len);
VEMRA_CERT_st* VemraPKICertDupCert(VEMRA_CERT_st* certificate);
int VemraPKICertFreeCert(VEMRA_CERT_st* certificate);
/* 1 when both are the same certificate. */
int VemraPKICertEqual(VEMRA_CERT_st* left, VEMRA_CERT_st* right);
/* *out becomes *len bytes in the numbered format, released with VemraPKICryptoFreeMemory. */
int VemraPKICertGetCertEncode(VEMRA_CERT_st* certificate, int format, unsigned char** out,
                              int* len);

/* Hashing. */

/* A new hash of the numbered algorithm, null on failure; released with VemraPKICryptoFreeHash. */
VEMRA_PKI_HASH_HANDLE_st* VemraPKICryptoNewHash(VEMRA_PKI_DEVICE_HANDLE_st* device, int algorithm);
int VemraPKICryptoHashUpdate(VEMRA_PKI_HASH_HANDLE_st* hash, const void* data, int len);
/* *out becomes the *len bytes of the digest, released with VemraPKICryptoFreeMemory. */
int VemraPKICryptoHashFinal(VEMRA_PKI_HASH_HANDLE_st* hash, unsigned char** out, int* len);
int VemraPKICryptoFreeHash(VEMRA_PKI_HASH_HANDLE_st* hash);

/* Memory and errors. */

int VemraPKICryptoFreeMemory(void* memory);
/* The code of the library's last failure. */
int VemraPKIGetLastError(void);
/* The text of a code; it belongs to the library. */
const char* VemraPKIGetErrorMsg(int code);

#ifdef __cplusplus
}
#endif

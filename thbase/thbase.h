#ifndef THBASE_H
#define THBASE_H

/*
 * The base library: the configuration store of the product, local time and a bounded scan, in plain C.
 *
 * Every call may be made from any thread at any time, also at the same time as any other call. No call raises
 * an exception, writes to standard output or standard error, or is a cancellation point: a thread that is
 * cancelled inside a call finishes the call first. The library reports to the system log, with facility
 * LOG_USER and priority LOG_WARNING, under the identity that the program has opened.
 *
 * The store is the text file /usr/tarnv/tarnhaven/master.conf, one `KEY = VALUE` a line; docs/store.md
 * describes its format. The library holds one whole version of it in memory, and a read never sees a mixture
 * of two versions.
 */

#include <stdio.h> /* NOLINT(modernize-deprecated-headers): in plain C it has no other name */
#include <time.h>  /* NOLINT(modernize-deprecated-headers) */

#ifdef __cplusplus
extern "C" {
#endif

/* The result codes of the store. 0 is success. */
#define STORE_RC_NOT_NUMERIC 223  /* the key is there, and its value is no number of 32 bits */
#define STORE_RC_NOT_FOUND 227    /* the key is not in the store */
#define STORE_RC_UNREADABLE 228   /* the store can't be read, or no version of it has been read yet */
#define STORE_RC_BAD_ARGUMENT 229 /* a null argument, or a handle that is not the master configuration's */
#define STORE_RC_NO_MEMORY 230    /* memory ran out; nothing has changed */

/*
 * Returns the handle of the master configuration. The first call reads the file; while no version of it has
 * been read, each call tries again, and a failure with a new reason puts one line into the system log.
 *
 * Returns the handle, which is the same at every call and stays valid until the process ends; the caller
 * never frees it. It is returned also when the file can't be read: the reads then answer STORE_RC_UNREADABLE.
 * NULL only if memory ran out at the first call; the next call tries again.
 */
void* get_master_config_ptr(void);

/*
 * Reads the text of a key.
 *
 * handle  from get_master_config_ptr.
 * key     NUL-terminated, compared byte by byte with the keys of the store.
 * value   gets the address of a new NUL-terminated text without the blanks and tabs around it, perhaps empty.
 *         The caller frees it with free. It is set with result 0 only and stays as it was otherwise.
 *
 * Returns 0, STORE_RC_NOT_FOUND, STORE_RC_UNREADABLE, STORE_RC_BAD_ARGUMENT or STORE_RC_NO_MEMORY.
 */
int thconfGetKeyValPair(void* handle, const char* key, char** value);

/*
 * Reads the number of a key: an optional sign and decimal digits, from -2147483648 to 2147483647, and nothing
 * else in the value.
 *
 * handle, key  as for thconfGetKeyValPair.
 * value        gets the number. It is set with result 0 only and stays as it was otherwise.
 *
 * Returns 0, STORE_RC_NOT_FOUND, STORE_RC_NOT_NUMERIC (the empty value included), STORE_RC_UNREADABLE,
 * STORE_RC_BAD_ARGUMENT or STORE_RC_NO_MEMORY.
 */
int thconfGetKeyValPairAsInt(void* handle, const char* key, int* value);

/*
 * Reads the file again, so that the reads after it see its present contents. When that fails, the last good
 * version stays in force and one line goes to the system log. A file that has changed is read twice, some
 * hundredths of a second apart, and again for at most half a second while it is being written, so that no
 * half-written version is taken.
 *
 * Returns 0, STORE_RC_UNREADABLE or STORE_RC_NO_MEMORY.
 */
int TH_forced_read_master_config(void);

/*
 * Breaks down a time into local time; the contract is that of localtime_r.
 *
 * time    seconds since the epoch.
 * result  is filled.
 *
 * Returns result; NULL, with errno set, if the year doesn't fit (EOVERFLOW) or an argument is null (EINVAL).
 */
struct tm* T_localtime(const time_t* time, struct tm* result);

/* clang-format off */
/*
 * A bounded scan: fscanf, with the size of each destination. Each conversion that stores something takes two
 * arguments: the pointer, then the byte size of its destination as an int, as in
 * T_fscanf(file, "%d %s", &number, 4, name, (int)sizeof name). Nothing is ever written past that size.
 *
 * Conversions. Blanks before them are skipped, but not before %c, %[ and %n.
 *   %d %i %u %x %X %o  a number: decimal, by its prefix (0x, 0), unsigned, hexadecimal (with or without 0x),
 *                      octal. With hh h l ll j z t before the letter, as in fscanf; the size must be exactly
 *                      that of the type. A number that doesn't fit the type, a negative one for %u %x %X %o
 *                      included, is not converted.
 *   %s                 a word of non-blanks.
 *   %[abc] %[^a-z]     bytes of the set, or not of the set; a range counts, and a ] comes first.
 *                      %s and %[ write a NUL after the text. A text that is too long is cut to size - 1
 *                      bytes; the rest of it is read and dropped, so that the scan goes on after it.
 *   %c                 one byte, or as many as the width says, with no NUL; the size must be no less.
 *   %n                 the count of bytes read so far, sized like %d. It is no conversion in the result.
 *   %%                 the percent sign.
 * A width limits the bytes that a conversion reads. A * reads and drops: no pointer, no size, not counted.
 * Blanks in the format match any blanks or none, other bytes match themselves.
 *
 * The scan ends at the first conversion that doesn't match, at a null pointer, at a size that doesn't fit its
 * conversion (then nothing is read for it), and at a conversion not listed here. A number that isn't
 * converted leaves its destination untouched, and its digits are read.
 *
 * Returns the number of conversions done; -1 if the file ended, or could not be read, before the first was
 * done, and -1 with errno EINVAL for a null stream or format.
 */
/* clang-format on */
int T_fscanf(FILE* stream, const char* format, ...);

#ifdef __cplusplus
}
#endif

#endif

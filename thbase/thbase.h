#ifndef THBASE_H
#define THBASE_H

#include <stdio.h>
#include <time.h>

#ifdef __cplusplus
extern "C" {
#endif

#define STORE_RC_NOT_NUMERIC 223
#define STORE_RC_NOT_FOUND 227
#define STORE_RC_UNREADABLE 228

void* get_master_config_ptr(void);
int thconfGetKeyValPair(void* handle, const char* key, char** value);
int thconfGetKeyValPairAsInt(void* handle, const char* key, int* value);
int TH_forced_read_master_config(void);
struct tm* T_localtime(const time_t* time, struct tm* result);
int T_fscanf(FILE* stream, const char* format, ...);

#ifdef __cplusplus
}
#endif

#endif

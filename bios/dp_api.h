#ifndef DP_BIOS_DP_API_H
#define DP_BIOS_DP_API_H

/**
 * @file
 * Reads and changes the BIOS (UEFI) setup attributes of the managed server.
 *
 * Order of calls: the dp_cim_change_*_fname functions (optional), dp_api_initialize, then queries
 * and changes in any order, and dp_api_uninitialize last. While the service is not initialised,
 * every function but dp_api_initialize and the setters returns 1 and writes nothing.
 *
 * Files are read when they are first needed, and again where a function's comment says so. A
 * missing file is the same as an empty one: no collections, no attributes, no values.
 *
 * Null pointers: an output pointer may be null; that result is then not returned. A null array of
 * requests is an empty array. A null name matches nothing. A null new_value is an empty text. Only
 * a null collection is refused: the function throws std::logic_error.
 *
 * Failures: no other exception leaves a function. When memory runs out or reading a file fails,
 * queries return 1 without results and the other functions fail as a whole. The call can be
 * repeated.
 *
 * Threads: the service has no lock. Never call it from two threads at the same time. Files that it
 * shares with other processes are read under advisory file locks.
 *
 * Lifetime: every returned text and array belongs to the service and is valid until the same
 * collection is read again or the service is uninitialised. Callers never free it.
 *
 * Texts are bytes; no character set is assumed.
 */

/* This header is C99. NOLINTBEGIN(modernize-*) */

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Marks what the shared library exports. */
#define DP_C_API __attribute__((visibility("default")))

/** Values of dp_attribute.type. Any value not listed here is an enumeration too. */
enum {
    DP_TYPE_ENUMERATION = 1, /**< uses num and chc */
    DP_TYPE_NUMERIC = 3,     /**< uses min, max and stp */
    DP_TYPE_STRING = 4,      /**< uses minc, maxc and reg */
    DP_TYPE_NO_RANGE = 5     /**< uses none of these */
};

/** One BIOS attribute. Texts are NUL-terminated and never null. Those without a meaning here are
 * passed on from the template unchanged. */
typedef struct dp_attribute {
    const char* id;      /**< attribute name */
    const char* spif;    /**< passed on */
    const char* grif;    /**< passed on */
    const char* cfg;     /**< collection */
    const char* cfgname; /**< a text of the collection */
    const char* cfgsetn; /**< a text of the collection */
    const char* grp;     /**< group */
    const char* gspif;   /**< passed on */
    const char* ggrif;   /**< passed on */
    const char* mri;     /**< passed on */
    const char* dsc;     /**< description */
    const char* fds;     /**< passed on */
    int32_t type;        /**< DP_TYPE_ENUMERATION, ... */
    uint32_t flg;        /**< flags; bit 20: the attribute has a rec item */
    uint32_t mni;        /**< lowest instance number */
    uint32_t mxi;        /**< highest instance number */
    const char* dft;     /**< default value */
    const char* mfg;     /**< passed on */
    const char* dfa;     /**< "remove": the default is a deleted setting */
    const char* rec;     /**< name of the setting record */
    uint32_t min;        /**< numeric: lower bound */
    uint32_t max;        /**< numeric: upper bound */
    uint32_t stp;        /**< numeric: step */
    uint32_t minc;       /**< string: least length */
    uint32_t maxc;       /**< string: greatest length */
    const char* reg;     /**< string: pattern */
    uint32_t num;        /**< enumeration: number of choices */
    const char* chc;     /**< enumeration: the choices, separated by commas */
} dp_attribute;

/** Bytes of dp_transaction.value, its NUL included. */
#define DP_VALUE_SIZE 80

/** One request to read or change an attribute's value. The caller provides it and keeps its texts
 * valid during the call. */
typedef struct dp_transaction {
    /** Out: 0 success; 16 no value; 19 the value was cut to 79 characters; 224 not a read; 255 the
     * call failed as a whole; else the error code of the settings service. */
    uint32_t status;
    uint32_t operation;        /**< in: 1 get, 2 set, 17 getv, 18 setv, 34 delete */
    const char* name;          /**< in: collection "." attribute [ "." instance ] */
    const char* new_value;     /**< in: value to set */
    char value[DP_VALUE_SIZE]; /**< out: value read, NUL-terminated */
} dp_transaction;

/* Binaries for the 32-bit target use these structures as 28 and 24 words, and walk arrays of them
 * with that stride. */
#if defined(__SIZEOF_POINTER__) && __SIZEOF_POINTER__ == 4
#ifdef __cplusplus
#define DP_STATIC_ASSERT_(condition, text) static_assert(condition, text)
#else
#define DP_STATIC_ASSERT_(condition, text) __extension__ _Static_assert(condition, text)
#endif
#define DP_WORD_(record, field, word) \
    DP_STATIC_ASSERT_(offsetof(record, field) == 4 * (word), #record "." #field " has moved")
DP_WORD_(dp_attribute, id, 0);
DP_WORD_(dp_attribute, spif, 1);
DP_WORD_(dp_attribute, grif, 2);
DP_WORD_(dp_attribute, cfg, 3);
DP_WORD_(dp_attribute, cfgname, 4);
DP_WORD_(dp_attribute, cfgsetn, 5);
DP_WORD_(dp_attribute, grp, 6);
DP_WORD_(dp_attribute, gspif, 7);
DP_WORD_(dp_attribute, ggrif, 8);
DP_WORD_(dp_attribute, mri, 9);
DP_WORD_(dp_attribute, dsc, 10);
DP_WORD_(dp_attribute, fds, 11);
DP_WORD_(dp_attribute, type, 12);
DP_WORD_(dp_attribute, flg, 13);
DP_WORD_(dp_attribute, mni, 14);
DP_WORD_(dp_attribute, mxi, 15);
DP_WORD_(dp_attribute, dft, 16);
DP_WORD_(dp_attribute, mfg, 17);
DP_WORD_(dp_attribute, dfa, 18);
DP_WORD_(dp_attribute, rec, 19);
DP_WORD_(dp_attribute, min, 20);
DP_WORD_(dp_attribute, max, 21);
DP_WORD_(dp_attribute, stp, 22);
DP_WORD_(dp_attribute, minc, 23);
DP_WORD_(dp_attribute, maxc, 24);
DP_WORD_(dp_attribute, reg, 25);
DP_WORD_(dp_attribute, num, 26);
DP_WORD_(dp_attribute, chc, 27);
DP_STATIC_ASSERT_(sizeof(dp_attribute) == 4 * 28, "dp_attribute is 28 words");
DP_WORD_(dp_transaction, status, 0);
DP_WORD_(dp_transaction, operation, 1);
DP_WORD_(dp_transaction, name, 2);
DP_WORD_(dp_transaction, new_value, 3);
DP_WORD_(dp_transaction, value, 4);
DP_STATIC_ASSERT_(sizeof(dp_transaction) == 4 * 24, "dp_transaction is 24 words");
#undef DP_WORD_
#undef DP_STATIC_ASSERT_
#endif

/** Creates the service; a second call does nothing. Reads no file. 0 success; 1 out of memory. */
DP_C_API int dp_api_initialize(void);

/** Destroys the service with every text and array it returned. Always 0. */
DP_C_API int dp_api_uninitialize(void);

/** Gets the names of the collections. 0 success; 1 not initialised. *names is null when there are
 * none. */
DP_C_API int dp_get_bios_collections(const char*** names, unsigned* count);

/** Gets the attributes of a collection as an array. They are read once. 0 success; 1 not
 * initialised; 2 unknown collection. *attrs is null when there are none. */
DP_C_API int dp_get_bios_attributes(const char* collection, dp_attribute** attrs, unsigned* count);

/** Gets the qualified names of a collection's setting instances in the order of the settings file.
 * They are read once. 0 success; 1 not initialised; 2 unknown collection. *names is null when there
 * are none. */
DP_C_API int dp_get_bios_attribute_names(const char* collection, const char*** names,
                                         unsigned* count);

/** Gets the first attribute whose id is the attribute part of a qualified name (collection "."
 * attribute [ "." instance ]). 0 found; 1 not found (*attr is null) or not initialised. */
DP_C_API int dp_get_bios_attribute(const char* name, dp_attribute** attr);

/** Reads the values of trans[0 .. count-1], whose operation must be 1: from the settings file, as
 * last set, when which is 0; else from the current-values file, as now in force. Returns the number
 * of failed requests, each with its reason in status; a value that was cut is not a failure.
 * Returns 1 also when not initialised. A file is read again when it changed and was last read more
 * than 4 seconds ago, the settings file also after every batch of this process. A program that
 * changes values in another way, as through the service's request socket, initialises the service
 * again (dp_api_uninitialize, dp_api_initialize) before it reads them back. */
DP_C_API int dp_get_bios_attribute_value(dp_transaction* trans, unsigned count, int which);

/** Sends trans[0 .. count-1] to the settings service as one batch and waits for the result, at most
 * about 60 seconds. 0 all commands succeeded (no status is changed); -1 the batch could not be run
 * (every status is 255); 3 failures were reported without result entries; otherwise the number of
 * failed commands, each with its code in status; 1 also when not initialised. Names and values are
 * written to a line of text without escaping, so they must not contain a double quote, backslash or
 * newline.
 *
 * A batch that cannot be written completely, as on a full disk, is removed and not executed: -1 at
 * once. -1 after the wait does not mean that nothing changed: the service may still execute the
 * batch. A command without a result entry keeps its status, like one that succeeded. The result
 * must be a regular file of at most 1 MiB and 64 KiB for each command; anything else is -1.
 *
 * Only one process at a time may call this or dp_bios_reset_to_defaults: all processes use the same
 * two files and take no lock. When two do it at the same time, either one's batch may be
 * overwritten before it is executed, and either one may read the result of the other's batch: it
 * then reports success for changes that were not made, or failures of other settings. Programs that
 * cannot exclude each other use the exchange lock (service_api/exchange_lock.hpp) from before the
 * call until after it, or the service's request socket (service_api/settings_client.hpp). */
DP_C_API int dp_set_bios_attribute_value(dp_transaction* trans, unsigned count);

/** Checks whether the returned data is out of date. 0 no; 1 not initialised; 2 unknown collection;
 * 4 the collections changed; 5 the setting instances changed; 6 another BIOS build. A change is
 * reported once. After it, uninitialise and initialise the service. */
DP_C_API int dp_bios_need_reinit(const char* collection);

/** Sets every setting instance of the collection to its default, in one batch. 0 all succeeded; 1
 * not initialised; 2 unknown collection; 3 some or all commands failed, the batch could not be run,
 * or there was nothing to reset. One process at a time, as above. */
DP_C_API int dp_bios_reset_to_defaults(const char* collection);

#ifdef __cplusplus
} /* extern "C" */

/** Replace the service's file names; call them before dp_api_initialize. The names remain set after
 * the service is uninitialised. They become part of command lines that a shell runs, so they must
 * be trusted: from the program itself, never from a file or a user. A null name is ignored. These
 * three have C++ linkage and may throw std::bad_alloc. */
/** @{ */
DP_C_API void dp_cim_change_template_fname(const char* fname);
DP_C_API void dp_cim_change_settings_fname(const char* fname);
DP_C_API void dp_cim_change_current_fname(const char* fname);
/** @} */
#endif

/* NOLINTEND(modernize-*) */

#endif

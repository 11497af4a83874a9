/*
** sethooks.h -- where SET hands a change on to the subsystem it concerns.
**
** SET stores every setting itself and reads it back from its own store;
** the effect of some settings lies in subsystems that start later (screen,
** keyboard, printer and side channels, locks, dates).  Each such subsystem
** fills its hook at start-up.  A hook left null means the setting is only
** stored, which is also what a batch run without that subsystem needs.
** Hooks are called after the new value is stored.
*/
#ifndef VL_SETHOOKS_H
#define VL_SETHOOKS_H

#include "var.h"

VL_BEGIN_DECLS

/* ---- Screen and keyboard. ---- */

/* SET TYPEAHEAD: the key buffer is to hold size+1 keys. */
extern void (*vln_typeahead_hook)(int size);
/* SET COLOR: the new colour text (grammar of the screen layer). */
extern void (*vln_color_hook)(const char* text);
/* SET CURSOR: 1 shows the cursor, 0 hides it. */
extern void (*vln_cursor_hook)(int on);
/* VL_Set("keyboardlookahead"): the screen library's typeahead(on - 1). */
extern void (*vln_lookahead_hook)(int on);
/* VL_Set("debugkey") and ("interruptkey"): the terminal's QUIT character
** (which is VL_SLOT_DEBUGKEY) or INTR character (VL_SLOT_INTRKEY) becomes
** key code. */
extern void (*vln_termkey_hook)(int which, int code);
/* VL_Set("escdelay"): the escape delay n, 1 to 100 (10 is the default). */
extern void (*vln_escdelay_hook)(int n);
/* VL_Set("environment", ..., .T.): whether a terminal of that name can be
** started; 0 refuses the change. */
extern int (*vln_checkforterm_hook)(const char* name);
/* VL_Set("environment", ..., ..., .T.): end and start the screen again so
** that a changed TERM or TERMINFO takes effect. */
extern void (*vln_term_reinit_hook)(void);

/* ---- Printer, alternate and extra channels. ---- */

/* SET ALTERNATE TO, SET EXTRA TO, SET PRINTER TO: close the channel and
** open target ("" closes), appending when additive.  The hook keeps the
** channel's name in vln_flagto through vln_flagto_settext and its stream in
** the matching stream member.  Without a hook the trimmed target is stored
** as the name and no stream is opened. */
extern void (*vln_alternate_hook)(const char* target, int additive);
extern void (*vln_extra_hook)(const char* target, int additive);
extern void (*vln_printer_hook)(const char* target, int additive);
/* SET PRINTER ON: whether printer output has somewhere to go.  Without a
** hook that is the case when a printer file is named. */
extern int (*vln_printer_ready_hook)(void);

/* ---- Locks. ---- */

/* SET 39, the auto-lock time of the automatic locking procedures: get
** gives the time, set stores one and gives the former, on gives the last
** time that was not negative and changes nothing.  Without hooks SET keeps
** the time itself, starting at 10 seconds. */
extern int (*vln_autolock_get_hook)(void);
extern int (*vln_autolock_set_hook)(int seconds);
extern int (*vln_autolock_on_hook)(void);

/* ---- Dates. ---- */

/* SET DATE, SET CENTURY: the new format (vlnGetDateFormat) is in force. */
extern void (*vln_datefmt_hook)(const char* format);

VL_END_DECLS

#endif /* VL_SETHOOKS_H */

/*
** extend.h -- the Extend interface: language functions written in C that
** read their arguments and set their result without touching var records.
**
** A routine works on the argument vector of the running call, published in
** gl_argc and gl_argv.  It reads arguments with the _par* functions, makes
** its result with a _VLret* function and writes back into arguments the
** caller passed by reference with the _stor* functions:
**
**   VL_EXTEND(twice)
**   {
**     if (!(_parinfo(1) & VL_EXT_NUMERIC)) return _VLret();
**     return _VLretnd(_parnd(1) * 2);
**   }
**   ...
**   VL_EXTEND_REGISTER(twice);     now TWICE(x) can be called by name
**
** Addressing.  An argument is given by its position n, from 1.  After n
** every _par* and _stor* function takes 1-based int indices that walk into
** arrays and objects: while the value at hand is an array or an object the
** next index selects one of its elements.  The walk stops at the index 0,
** at a value that is neither array nor object, or with the empty result
** when a tenth level is asked for or an index lies outside the array.  The
** macros below close every index list with the 0, so _parc(2, 3) reads
** element 3 of an array passed second; C callers of the functions
** themselves (written in parentheses, (_parc)(2, 3, 0)) close it
** themselves.  _parinfa's list is closed with -1 instead, because 0 asks it
** for the size of the array at hand.
**
** Nothing here reports an error: an address that does not exist, or a value
** of the wrong type, gives the empty result of the function.  A routine
** that must fail calls rt_error.
*/
#ifndef VL_EXTEND_H
#define VL_EXTEND_H

#include <stddef.h>

#include "var.h"

VL_BEGIN_DECLS

/* The argument count and vector of the Extend routine now running.  A
** nested call replaces them for its duration, so a routine reads its
** arguments before it calls language code, or reads them again after. */
extern int gl_argc;
extern var** gl_argv;

/* ---- Type flags of _parinfo and _parinfa. ---- */
#define VL_EXT_UNDEF 0        /* NIL or undefined */
#define VL_EXT_CHARACTER 1
#define VL_EXT_NUMERIC 2      /* 'N', 'F' and 'I' */
#define VL_EXT_LOGICAL 4
#define VL_EXT_DATE 8
#define VL_EXT_BYREF 32       /* added by _parinfo: passed by reference */
#define VL_EXT_MEMO 65        /* VL_EXT_CHARACTER plus 64 */
#define VL_EXT_ARRAY 512
#define VL_EXT_SCREEN 1024
#define VL_EXT_OBJECT 2048
#define VL_EXT_BLOCK 4096     /* 'B' and 'b' */
#define VL_EXT_NONE 65535     /* no such argument or element */

/* ---- Writing and registering a routine. ---- */

/* The body of an Extend routine: reads gl_argc/gl_argv through the _par*
** functions and returns what a _VLret* function gave it. */
typedef var* (*VlnExtendFn)(void);

/* Run body as the language call (argc, argv): gl_argc and gl_argv describe
** this call while body runs and are put back afterwards, on a BREAK out of
** body too, so the caller's routine still reads its own arguments.  A null
** result of body becomes NIL.  Returns body's result. */
var* vln_extend_call(int argc, var** argv, VlnExtendFn body);

/* Define the language function NAME (lower case, at most 10 characters)
** written with this interface; the braces that follow are its body.  It
** defines the entry point _bb_NAME(argc, argv), which runs the body
** through vln_extend_call. */
#define VL_EXTEND(name)                                   \
  static var* vl_extend_body_##name(void);                \
  VL_EXTERN_C var* _bb_##name(int argc, var** argv)       \
  {                                                       \
    return vln_extend_call(argc, argv, vl_extend_body_##name); \
  }                                                       \
  static var* vl_extend_body_##name(void)

/* Enter a routine defined with VL_EXTEND in the function registry under its
** name, so that programs and the expression evaluator call it by name.
** Needs kernel.h. */
#define VL_EXTEND_REGISTER(name) vln_register_fun(#name, _bb_##name)

/* ---- Reading arguments. ---- */

/* n 0: gl_argc.  Else the type flag of argument n, plus VL_EXT_BYREF when
** the caller passed a variable by reference; VL_EXT_NONE when there is no
** argument n. */
int _parinfo(int n);
/* n 0: gl_argc.  Else walks the indices: an index of 0 gives the number of
** elements of the array or object at hand (0 for any other value), -1 the
** type flag of the value at hand.  VL_EXT_NONE when the address does not
** exist. */
int _parinfa(int n, ...);
/* The text of a character or memo value; "" (never null) for anything
** else.  A borrowed text is first copied into the argument's own buffer,
** so the pointer stays valid until the argument changes or the call ends.
** The caller must not write through it. */
const char* _parc(int n, ...);
/* Bytes of the text including its NUL; 0 for a non-text. */
int _parcsize(int n, ...);
/* Length of the text: up to its first 0 byte, or all its bytes when VL_Set
** lets texts hold 0 bytes; 0 for a non-text. */
int _parclen(int n, ...);
/* 1 or 0 for a logical or a number (non-zero is 1); 0 for anything else. */
int _parl(int n, ...);
/* A number ('N', 'F', 'I') as a double; 0.0 for anything else. */
double _parnd(int n, ...);
/* A number truncated toward zero to 32 bits (-2147483648 when out of
** range); 0 for anything else, a logical included. */
int _parni(int n, ...);
long _parnl(int n, ...);
/* A date as "YYYYMMDD", or eight blanks for the empty date, in a static
** buffer that the next call overwrites; null for a non-date. */
const char* _pards(int n, ...);
/* The window of a screen value; null for anything else (always null
** without a screen layer). */
void* _parscw(int n, ...);

/* ---- Results: each returns the value the routine must return. ---- */

var* _VLret(void);                           /* NIL */
var* _VLretc(const char* text);              /* a copy of text */
var* _VLretclen(const char* text, int len);  /* len bytes, 0 bytes kept */
var* _VLretl(int b);                         /* .T. for non-zero */
var* _VLretnd(double d);                     /* decimals as SET DECIMALS */
var* _VLretni(int n);                        /* an integer value */
/* An integer value; one beyond 32 bits becomes a number of 0 decimals. */
var* _VLretnl(long n);
/* The date of a "YYYYMMDD" text (the empty date for anything invalid). */
var* _VLretds(const char* text);
/* A screen value holding a copy of window; NIL without a screen layer. */
var* _VLretwin(void* window);

/* ---- Writing back: value first, then the address.  1 when stored, 0 when
** the address does not exist or the value there cannot be written (a
** constant, a strictly typed variable that refuses the type). ---- */

int _storc(const char* text, int n, ...);
int _storclen(const char* text, int len, int n, ...);
/* The date of a "YYYYMMDD" text. */
int _stords(const char* text, int n, ...);
int _storl(int b, int n, ...);
/* A number of decimals as SET DECIMALS. */
int _stornd(double d, int n, ...);
/* The integer as a number of decimals as SET DECIMALS. */
int _storni(int i, int n, ...);
int _stornl(long i, int n, ...);
/* A copy of window, unless the value already holds that window. */
int _storscw(void* window, int n, ...);

/* ---- Memory. ---- */

/* size bytes.  On failure a non-zero fatal ends the program with a fatal
** error; fatal 0 reports a run-time error (shown in developer mode) and
** returns null. */
void* _VL_xalloc(size_t size, int fatal);
/* Free what _VL_xalloc gave; null is allowed. */
void _VL_xfree(void* p);

/* Close every index list (see Addressing above). */
#define _parinfa(...) _parinfa(__VA_ARGS__, (int)-1)
#define _parc(...) _parc(__VA_ARGS__, (int)0)
#define _parcsize(...) _parcsize(__VA_ARGS__, (int)0)
#define _parclen(...) _parclen(__VA_ARGS__, (int)0)
#define _parl(...) _parl(__VA_ARGS__, (int)0)
#define _parnd(...) _parnd(__VA_ARGS__, (int)0)
#define _parni(...) _parni(__VA_ARGS__, (int)0)
#define _parnl(...) _parnl(__VA_ARGS__, (int)0)
#define _pards(...) _pards(__VA_ARGS__, (int)0)
#define _parscw(...) _parscw(__VA_ARGS__, (int)0)
#define _storc(...) _storc(__VA_ARGS__, (int)0)
#define _storclen(...) _storclen(__VA_ARGS__, (int)0)
#define _stords(...) _stords(__VA_ARGS__, (int)0)
#define _storl(...) _storl(__VA_ARGS__, (int)0)
#define _stornd(...) _stornd(__VA_ARGS__, (int)0)
#define _storni(...) _storni(__VA_ARGS__, (int)0)
#define _stornl(...) _stornl(__VA_ARGS__, (int)0)
#define _storscw(...) _storscw(__VA_ARGS__, (int)0)

VL_END_DECLS

#endif /* VL_EXTEND_H */

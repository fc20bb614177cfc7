#pragma once
// The thread message queue, window classes, and string resources. No window is ever made.

#include "platform/base.h"
#ifdef _WIN32
#else

#define WM_NULL 0
#define WM_QUIT 0x12
#define WM_USER 0x400
#define WM_APP 0x8000
#define PM_NOREMOVE 0
#define PM_REMOVE 1

struct POINT {
  LONG x;
  LONG y;
};
struct MSG {
  HWND hwnd;
  UINT message;
  WPARAM wParam;
  LPARAM lParam;
  DWORD time;
  POINT pt;
};
using LPMSG = MSG*;

using WNDPROC = LRESULT (*)(HWND, UINT, WPARAM, LPARAM);
struct WNDCLASSA {
  UINT style;
  WNDPROC lpfnWndProc;
  int cbClsExtra;
  int cbWndExtra;
  HINSTANCE hInstance;
  HICON hIcon;
  HCURSOR hCursor;
  HBRUSH hbrBackground;
  LPCSTR lpszMenuName;
  LPCSTR lpszClassName;
};

// 0 with ERROR_INVALID_PARAMETER for a class with no name.
ATOM RegisterClassA(const WNDCLASSA* window_class);
LRESULT DefWindowProcA(HWND window, UINT message, WPARAM w, LPARAM l);

// False with ERROR_INVALID_THREAD_ID for a thread that does not live or has never looked for a
// message.
BOOL PostThreadMessageA(DWORD thread_id, UINT message, WPARAM w, LPARAM l);
// 1, or 0 for WM_QUIT, or -1 on failure. Blocks until there is a message.
BOOL GetMessageA(MSG* message, HWND window, UINT first, UINT last);
BOOL PeekMessageA(MSG* message, HWND window, UINT first, UINT last, UINT remove);
BOOL TranslateMessage(const MSG* message);
LRESULT DispatchMessageA(const MSG* message);

// The length copied, without the zero end; 0 when the program has no such string.
int LoadStringA(HINSTANCE instance, UINT id, char* buffer, int size);

#endif

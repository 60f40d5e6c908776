// What the input loop and the server link ask of the layers above them while
// the program runs. The app fills the table in at start-up (src/app/hooks.cpp);
// an empty entry does nothing, so a run without a screen (the command line
// before its hooks are set, a benchmark) needs none of them.
#pragma once

struct server_msg;

struct core_hooks {
    // An unsolicited server message arrived. key_wait: it came during a wait
    // for a key (else it was queued during a reply wait and is handled now).
    void (*message)(server_msg *msg, bool key_wait);
    void (*error)(const char *text, int number);     // the error pop-up (the system error is read from errno)
    void (*notice)(const char *text, int seconds);   // a pop-up, with popup's timing
    void (*each_pass)();                             // before every wait: the local player's panel
    void (*idle_second)();                           // an idle second: the play time and the CD reminder
    void (*resized)();                               // the terminal changed size: lay the screen out again
    void (*interrupted)();                           // Ctrl-C during a key wait: the exit question
};

extern core_hooks loop_hooks;   // filled in once by the app at start-up

// Placeholders for the screen toolkit while it is being built; each is replaced
// by its real implementation and removed from here.
#include "core/access.hpp"
#include "core/input.hpp"
#include "ui/form.hpp"
#include "ui/help.hpp"
#include "ui/menu.hpp"
#include "ui/menu_tables.hpp"
#include "ui/screen.hpp"

#include <curses.h>

int password;
int maintenance;

int null_func(const void *, int, const char *) { return -1; }
int dumb_func(const void *, int, const char *) { return -1; }
int quit_func(const void *, int, const char *) { return -5; }
int brk_func(const void *, int, const char *) { return -11; }

int menu_func(const menu_item *, int, const char *title, const char *)
{
    clear();
    frame(stdscr);
    header(title);
    while (get_input(&input, 0) == -1) {
    }
    return -1;
}

int menu_func(const void *table, int code, const char *label)
{
    return menu_func(static_cast<const menu_item *>(table), code, label, "");
}

const menu_item main_menu[] = {{.label = "", .handler = null_func, .argument = nullptr, .code = 0}};
const menu_item maint_menu[] = {{.label = "", .handler = null_func, .argument = nullptr, .code = 0}};
const menu_item report_menu[] = {{.label = "", .handler = null_func, .argument = nullptr, .code = 0}};
const menu_item import_menu[] = {{.label = "", .handler = null_func, .argument = nullptr, .code = 0}};
const menu_item shut_down[] = {{.label = "", .handler = null_func, .argument = nullptr, .code = 0}};
const menu_item audio_menu[] = {{.label = "", .handler = null_func, .argument = nullptr, .code = 0}};
const menu_item apply_menu[] = {{.label = "", .handler = null_func, .argument = nullptr, .code = 0}};
const menu_item sort_menu[] = {{.label = "", .handler = null_func, .argument = nullptr, .code = 0}};
const menu_item output_menu[] = {{.label = "", .handler = null_func, .argument = nullptr, .code = 0}};

form_field data_input[9];
form_field notes_input[9];
form_field trackno_input[2];
int form_func(form_field *) { return -3; }
void copy_to_form(int, int) {}
void copy_from_form(int, int) {}
void clear_form() {}
int help_screen(const void *, int, const char *) { return 0; }

int chkpass() { return 0; }
int shutdown_func(const void *, int, const char *) { return 0; }
int set_maint_mode(const void *, int, const char *) { return 0; }

// Placeholders for the browser and searches while they are being built; each
// is replaced by its real implementation and removed from here.
#include "browse/apply.hpp"
#include "browse/browser.hpp"
#include "browse/chain.hpp"
#include "browse/output.hpp"
#include "browse/search.hpp"
#include "db/album.hpp"
#include "media/fuzzy_match.hpp"
#include "reports/glitch.hpp"

#include <cstring>

int link_track(chain_item **head, int, int album_no, int track_no, std::int64_t key, int)
{
    auto *e = new chain_item{};
    e->track = &album[album_no].entry[track_no];
    e->album_no = album_no;
    e->track_no = track_no;
    e->key = key;
    chain_item **p = head;
    chain_item *prev = nullptr;
    while (*p != nullptr) {
        prev = *p;
        p = &(*p)->next;
    }
    e->prev = prev;
    *p = e;
    return 1;
}

int link_history(chain_item **, int, int, int, std::int64_t, const char *, const char *, const char *) { return -1; }

void free_chain(chain_item *first)
{
    while (first != nullptr) {
        chain_item *next = first->next;
        delete first;
        first = next;
    }
}

int contains(const char *text, const char *wanted, int) { return wanted[0] != '\0' && std::strstr(text, wanted); }
int browser(chain_item **, int, int, browse_callback, int) { return -3; }
int search(const void *, int) { return -3; }
int cs_search(const void *, int, const char *) { return -3; }
int search_svce(chain_item *, int key, int) { return key; }
int mass_apply(chain_item **, const char *, int, int) { return 0; }
int apply_svce(const void *, int, const char *) { return -11; }
void global_edit(chain_item *, const char *, int, int) {}
int get_string_verbatim(char *, int) { return -3; }
void output(chain_item *, int, int) {}
float fuzzy_match(const char *, const char *) { return 0.0f; }
std::int64_t detect_glitch(int, int, std::FILE *, std::int64_t) { return -1; }

// Text corrections and capitalisation of artists and titles.
#pragma once

int correct(const void *arg, int code, const char *label);
int correct_caps(const void *arg, int code, const char *label);
int capitals(const void *arg, int code, const char *label);

#pragma once

// The burned-in MAC address from the text of "show version": the value after
// the label and its dotted leader, at most 31 characters; "" when absent.
void macFromShowVersion(const char *output, char (&mac)[32]);

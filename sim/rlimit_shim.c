/* placeholder */
int dw_rlimit_shim_placeholder;

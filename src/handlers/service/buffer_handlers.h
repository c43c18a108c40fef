// Image pre-buffer, buffer keep ratio and dial-up link settings.
#pragma once

int NxCgi_ImgBufDevFunc(char* err_msg);
int NxCgi_ImgBufDevPortFunc(char* err_msg);
int NxCgi_RdskBuffFunc(char* err_msg);
int NxCgi_DialUpFunc(char* err_msg);

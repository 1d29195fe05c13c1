" Data sources of KelmScript.
if exists('b:did_ftplugin')
  finish
endif
let b:did_ftplugin = 1

setlocal commentstring=//\ %s comments=s1:/*,mb:*,ex:*/,:// iskeyword=@,48-57,_
setlocal expandtab shiftwidth=4 softtabstop=4
let b:undo_ftplugin = 'setlocal commentstring< comments< iskeyword< expandtab< shiftwidth< softtabstop<'

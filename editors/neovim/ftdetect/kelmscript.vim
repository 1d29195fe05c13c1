autocmd BufNewFile,BufRead *.kds setfiletype kds

" Colours of KelmScript's data sources. What comes later goes before what comes earlier.
if exists('b:current_syntax')
  finish
endif

syntax match kdsEnumerator /\<\h\w*\>/
syntax match kdsType /\<\h\w*\(\s*\(::\|\.\)\s*\h\w*\)*\ze\s*[{(\[]/
syntax match kdsType /\<\h\w*\(\s*\(::\|\.\)\s*\h\w*\)\+/
syntax match kdsMember /\<\h\w*\ze\s*=/
syntax match kdsNumber /[+-]\?\<\d\+\>/
syntax match kdsNumber /[+-]\?\<0[xX]\x\+\>/
syntax match kdsFloat /[+-]\?\<\d\+\([eE][+-]\?\d\+\|\.\d*\([eE][+-]\?\d\+\)\?\)/
syntax match kdsFloat /[+-]\?\.\d\+\([eE][+-]\?\d\+\)\?/
syntax match kdsConstant /\<\(true\|false\|null\|inf\|nan\)\>\(\s*=\)\@!/
syntax match kdsOperator /->\|=/
syntax match kdsEscape contained /\\\([ntrabfv0'"?\\]\|x\x\{2}\|u\x\{4}\|U\x\{8}\)/
syntax match kdsWrongEscape contained /\\\([ntrabfv0'"?\\]\|x\x\{2}\|u\x\{4}\|U\x\{8}\)\@!./
syntax region kdsText oneline start=/"/ end=/"\|$/ skip=/\\./ contains=kdsEscape,kdsWrongEscape
syntax region kdsText oneline start=/'/ end=/'\|$/ skip=/\\./ contains=kdsEscape,kdsWrongEscape
syntax match kdsComment /^#.*/ contains=kdsTodo
syntax match kdsComment +//.*+ contains=kdsTodo
syntax region kdsComment start=+/\*+ end=+\*/+ contains=kdsTodo
syntax keyword kdsTodo contained TODO FIXME
syntax sync ccomment kdsComment

highlight default link kdsEnumerator Constant
highlight default link kdsType Type
highlight default link kdsMember Identifier
highlight default link kdsNumber Number
highlight default link kdsFloat Float
highlight default link kdsConstant Boolean
highlight default link kdsOperator Operator
highlight default link kdsText String
highlight default link kdsEscape SpecialChar
highlight default link kdsWrongEscape Error
highlight default link kdsComment Comment
highlight default link kdsTodo Todo

let b:current_syntax = 'kds'

// The rules for the page's JavaScript and its tests; scripts/lint applies them.
import js from '@eslint/js';
import globals from 'globals';

const rules = {
  eqeqeq: 'error',
  'no-control-regex': 'off', // steps escape control characters
  'no-shadow': 'error',
  'no-var': 'error',
  'prefer-const': 'error',
};

export default [
  js.configs.recommended,
  { rules },
  { files: ['host/page/**'], languageOptions: { globals: globals.browser } },
  // The tests hand functions to the browser.
  { files: ['tests/**'], languageOptions: { globals: { ...globals.node, ...globals.browser } } },
];
